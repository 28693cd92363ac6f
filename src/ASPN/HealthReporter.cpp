#include "ASPN/HealthReporter.h"

#include <stdexcept>

#include "ASPN/AspnHelper.h"
#include "ASPN/FaultHysteresis.h"
#include "ASPN/Publishing.h"
#include "face/FACE_Common.h"
#include "platform/FPGA.h"
#include "utilities/Console.h"

using FACE::RETURN_CODE_TYPE;
using utilities::printLine;

namespace {

constexpr unsigned maxEvents = 10;
constexpr int lastEventType = 5;

}  // namespace

HealthReporter& HealthReporter::Instance() {
    static HealthReporter instance;
    return instance;
}

HealthReporter::HealthReporter() : m_eventQueue(maxEvents, EVENT_INFO, configRepeatDuration) {
    // Made before this object is, so that it is destroyed after it.
    FaultHysteresis::Instance();
}

void HealthReporter::SendEvent(const char* file, int line, eEventType type,
                               const std::string& text) {
    // What comes while the publisher ends would keep it from ending.
    if (m_stop) {
        return;
    }
    std::string stamped =
        FaultHysteresis::Instance().Check(type, file == nullptr ? "" : file, line, text);
    const bool known = type >= 0 && type <= lastEventType;
    m_eventQueue.push_back(known ? type : 0, std::move(stamped));
}

std::uint32_t HealthReporter::SendConfigEvent(const std::string& text) {
    return m_eventQueue.push_back_config(text);
}

std::uint32_t HealthReporter::ReplaceConfigEvent(const std::string& text, std::uint32_t oldId) {
    return m_eventQueue.push_back_config(text, oldId);
}

void HealthReporter::InitHealthReporter(const std::string& name,
                                        const ASPN2::DeviceIdFactory& factory,
                                        const std::shared_ptr<EventLogTS>& eventLogTypedTS,
                                        std::int64_t connection) {
    const std::string call = "InitHealthReporter(" + name + ") ";
    if (!eventLogTypedTS) {
        throw std::runtime_error(call + "called with an empty eventLogTypedTS.");
    }
    if (m_initialized.exchange(true)) {
        throw std::runtime_error(call + "called on an already initialized HealthReporter.");
    }
    RETURN_CODE_TYPE::Value rc = RETURN_CODE_TYPE::NO_ERROR;
    eventLogTypedTS->Register_Sender(connection, rc);
    FACE::Return_Code_Value_No_Error_No_Action(__FILE__, __LINE__,
                                               (call + "unable to register sender.").c_str(), rc);
    m_name = name;
    m_deviceId = static_cast<std::int32_t>(factory.makeDeviceId(ASPN2::MessageKinds::EventLog, 0));
    m_seqNum = 0;
    m_eventLogTypedTS = eventLogTypedTS;
    m_connectionId = connection;
    m_stop = false;
    m_thread = std::thread([this] { pubThreadFunction(); });
    ASPN2::startFaultHysteresis();
}

void HealthReporter::DoneHealthReporter() {
    if (m_thread.joinable()) {
        m_stop = true;
        m_thread.join();
        m_stop = false;
    }
    m_eventLogTypedTS.reset();
    m_initialized = false;
}

void HealthReporter::pubThreadFunction() {
    for (bool going = true; going;) {
        try {
            going = publishNext();
        } catch (const std::exception& exception) {
            printLine("!!!!!! ", m_name, " HealthReporter caught exception: ", exception.what());
        } catch (...) {
            printLine("!!!!!! ", m_name, " HealthReporter caught UNKNOWN exception");
        }
    }
}

bool HealthReporter::publishNext() {
    int type = 0;
    std::string text;
    if (!m_eventQueue.pop_front(type, text, eventQPollDuration)) {
        return !m_stop;
    }
    publishChange(type, text);
    std::this_thread::sleep_for(publishPause);
    return true;
}

void HealthReporter::publishChange(int type, const std::string& text) {
    const bool published = ASPN2::publish(*m_eventLogTypedTS, m_connectionId, [&] {
        aspn2_msgs::idl::EventLog event;
        event.header().device_id(m_deviceId);
        ASPN2::setToVandToA_fromFpgaTicks(FpgaFace::Instance().fpga_get_SystemCount(),
                                          event.header());
        event.header().seq_num(m_seqNum++);
        event.event_log_type(static_cast<aspn2_msgs::idl::event_log_type_enum>(type));
        event.eventlog(text);
        return event;
    });
    if (!published) {
        printLine("!!!!!! ", m_name, " HealthReporter could not publish event type/info = ", type,
                  "/", text);
    }
}
