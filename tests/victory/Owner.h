/** The owner of a service. */
#pragma once

#include <span>

#include "utilities/Console.h"
#include "utilities/Mutex.h"
#include "victory/Rig.h"

namespace victory_test {

/** Notes what it is asked, and answers as told. */
class Owner {
public:
    std::atomic<int> result{0};
    std::function<void()> during = [] {};
    Count begun;
    Count ended;

    void offerAll(VgpssService* service) {
        using Service = VgpssService;
        vgpssInitSaveVclidCallback(
            service, [](void* me, Service*, const char* text) { return note(me, "vcl ", text); },
            this);
        vgpssInitSetCommandCallback(
            service,
            [](void* me, Service*, VgpsCommandData record) {
                std::string call = "command";
                for (unsigned i = 0; i < record.commandCount; ++i) {
                    const VgpsCommand& command = record.commands[i];
                    call += utilities::concat(' ', command.commandName, ':', command.commandType);
                }
                return note(me, call);
            },
            this);
        vgpssInitSetMagneticVariationCallback(
            service,
            [](void* me, Service*, VgpscMagneticVariation source, double degrees) {
                return note(me, "variation ", source, ' ', degrees);
            },
            this);
        vgpssInitSetMissionDurationCallback(
            service,
            [](void* me, Service*, unsigned value) { return note(me, "duration ", value); }, this);
        vgpssInitSetOperatingModeCallback(
            service, [](void* me, Service*, int value) { return note(me, "mode ", value); }, this);
        vgpssInitSetReceiverHotStartPortCallback(
            service,
            [](void* me, Service*, VgpscReceiverHotStartPort port) {
                return note(me, "port ", port.name);
            },
            this);
        vgpssInitSetReceiverHotStartDataCallback(service, hotStartData, this);
    }

    std::string last() EXCLUDES(m_mutex) {
        const utilities::MutexLock lock(m_mutex);
        return m_last;
    }

private:
    template <typename... Parts>
    static int note(void* me, const Parts&... parts) {
        Owner& owner = *static_cast<Owner*>(me);
        {
            const utilities::MutexLock lock(owner.m_mutex);
            owner.m_last = utilities::concat(parts...);
        }
        owner.begun.add();
        owner.during();
        owner.ended.add();
        return owner.result;
    }
    static int hotStartData(void* me, VgpssService*, VgpscReceiverHotStartData record) {
        std::string call = utilities::concat("data ", record.hotStartMode);
        for (const auto& message : std::span(record.messages).first(record.messageCount)) {
            const std::vector<int> bytes(message.bytes, message.bytes + message.length);
            call += utilities::concat(' ', message.messageId, ',', message.sequence, ',',
                                      json(bytes).dump());
        }
        return note(me, call);
    }

    utilities::Mutex m_mutex;
    std::string m_last GUARDED_BY(m_mutex);
};

/** A service that its owner offers all of. */
class OwnedRig : public Rig {
protected:
    void start() {
        make();
        owner.offerAll(service);
        ASSERT_EQ(vgpssStartService(service), 0);
    }

    Owner owner;
};

}  // namespace victory_test
