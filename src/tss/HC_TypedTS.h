/** Sends and receives one message type on the connections of a transport. */
#pragma once

#include <fastrtps/publisher/Publisher.h>

#include <cstdint>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include "aspn2_msgs/CommandResponse.h"
#include "aspn2_msgs/EventLog.h"
#include "aspn2_msgs/MaintenanceEvent.h"
#include "aspn2_msgs/PubSubType.h"
#include "tss/HC_TSS.h"
#include "tss/TypedTS.h"
#include "utilities/Console.h"

namespace FACE::TSS::Details {

/** Comes after the transport's Initialize and Create_Connection; Set_Reference before everything
 *  else. Registering runs on one thread; Send_Message on any number at once.
 *
 *  Codes that Register_Sender, Register_Callback and Send_Message share: NOT_AVAILABLE: transport
 *  not initialized; INVALID_PARAM: no such connection; CONNECTION_CLOSED: the library refuses,
 *  or, when registering, the connection carries another type than T, with a line on standard error;
 *  NO_ACTION: whatever else goes wrong. Send_Message trusts the T that was registered.
 */
template <typename T>
class HC_TypedTS : public TypedTS<T>, public Base_Injectable::Injectable {
public:
    HC_TypedTS() = default;
    HC_TypedTS(const HC_TypedTS&) = delete;
    HC_TypedTS& operator=(const HC_TypedTS&) = delete;

    /** NOT_AVAILABLE: set already; INVALID_PARAM: null or no HC_TSS. Name and id are not looked at.
     */
    void Set_Reference(const String& interface_name, const std::shared_ptr<Base>& reference,
                       long long id, RETURN_CODE_TYPE::Value& rc) override;

    /** Not supported: throws std::runtime_error. */
    void Receive_Message(long long connection, long long timeout, long long& transaction,
                         T& message, HEADER_TYPE& header, Sequence<QoS_Element>& qos,
                         RETURN_CODE_TYPE::Value& rc) override;

    /** Neither `timeout` nor `transaction` is looked at or written. Allocates nothing of its own.
     *  NOT_AVAILABLE: no sender registered; DATA_OVERFLOW: the sample was not taken.
     */
    void Send_Message(long long connection, long long timeout, long long& transaction,
                      const T& message, RETURN_CODE_TYPE::Value& rc) override;

    /** NO_ACTION: there is one already, which stays. */
    void Register_Sender(long long connection, RETURN_CODE_TYPE::Value& rc) override;
    void Register_Callback(long long connection, Read_Callback<T> callback,
                           RETURN_CODE_TYPE::Value& rc) override;

private:
    using Code = RETURN_CODE_TYPE::Value;
    using Connection_t = HC_TSS::Connection_t;

    template <typename Work>
    Code attempt(long long connection, const Work& work) const;
    void requireType(const Connection_t& connection) const;
    void registerSubscriberTyped(long long connection_id, Connection_t& connection,
                                 Read_Callback<T> callback) const;

    std::shared_ptr<HC_TSS> m_tss;
};

template <typename T>
void HC_TypedTS<T>::Set_Reference(const String& /*interface_name*/,
                                  const std::shared_ptr<Base>& reference, long long /*id*/,
                                  RETURN_CODE_TYPE::Value& rc) {
    if (m_tss) {
        rc = RETURN_CODE_TYPE::NOT_AVAILABLE;
        return;
    }
    m_tss = std::dynamic_pointer_cast<HC_TSS>(reference);
    rc = m_tss ? RETURN_CODE_TYPE::NO_ERROR : RETURN_CODE_TYPE::INVALID_PARAM;
}

template <typename T>
void HC_TypedTS<T>::Receive_Message(long long /*connection*/, long long /*timeout*/,
                                    long long& /*transaction*/, T& /*message*/,
                                    HEADER_TYPE& /*header*/, Sequence<QoS_Element>& /*qos*/,
                                    RETURN_CODE_TYPE::Value& /*rc*/) {
    throw std::runtime_error("HC_TypedTS::Receive_Message() is not supported.");
}

template <typename T>
void HC_TypedTS<T>::Send_Message(long long connection, long long /*timeout*/,
                                 long long& /*transaction*/, const T& message,
                                 RETURN_CODE_TYPE::Value& rc) {
    rc = attempt(connection, [&](Connection_t& found) {
        const Gate::Pass pass(*found.sends);
        if (!pass) {
            return RETURN_CODE_TYPE::NOT_AVAILABLE;
        }
        // The library takes a mutable sample, and only reads it.
        void* const sample = const_cast<T*>(&message);
        return found.publisher->write(sample) ? RETURN_CODE_TYPE::NO_ERROR
                                              : RETURN_CODE_TYPE::DATA_OVERFLOW;
    });
}

template <typename T>
void HC_TypedTS<T>::Register_Sender(long long connection, RETURN_CODE_TYPE::Value& rc) {
    rc = attempt(connection, [&](Connection_t& found) {
        if (found.isPublisher()) {
            return RETURN_CODE_TYPE::NO_ACTION;
        }
        requireType(found);
        m_tss->registerPublisher(found);
        return RETURN_CODE_TYPE::NO_ERROR;
    });
}

template <typename T>
void HC_TypedTS<T>::Register_Callback(long long connection, Read_Callback<T> callback,
                                      RETURN_CODE_TYPE::Value& rc) {
    rc = attempt(connection, [&](Connection_t& found) {
        if (found.isSubscriber()) {
            return RETURN_CODE_TYPE::NO_ACTION;
        }
        requireType(found);
        registerSubscriberTyped(connection, found, std::move(callback));
        return RETURN_CODE_TYPE::NO_ERROR;
    });
}

/** What `work` answers for the connection; an exception ends here and becomes a code. */
template <typename T>
template <typename Work>
RETURN_CODE_TYPE::Value HC_TypedTS<T>::attempt(long long connection, const Work& work) const {
    if (!m_tss || !m_tss->isInitialized()) {
        return RETURN_CODE_TYPE::NOT_AVAILABLE;
    }
    try {
        return work(m_tss->connectionMap_mutex_at(HC_TSS::mapKey(connection)));
    } catch (const std::out_of_range&) {
        return RETURN_CODE_TYPE::INVALID_PARAM;
    } catch (const std::exception& failure) {
        utilities::printErrorLine(failure.what());
        return RETURN_CODE_TYPE::CONNECTION_CLOSED;
    } catch (...) {
        return RETURN_CODE_TYPE::NO_ACTION;
    }
}

/** The library passes samples as bare addresses: on a connection that the configuration gives
 *  another type, a T would be read as what it is not. A type that is not registered at all is left
 *  to the library, which refuses it.
 */
template <typename T>
void HC_TypedTS<T>::requireType(const Connection_t& connection) const {
    auto* const type = m_tss->registeredType(connection.topicType.c_str());
    if (type != nullptr && dynamic_cast<aspn2_msgs::PubSubType<T>*>(type) == nullptr) {
        throw std::runtime_error("Participant " + m_tss->name() + " topic " + connection.topicName +
                                 " is of type " + connection.topicType + ", not of " +
                                 T::cdrTypeName);
    }
}

template <typename T>
void HC_TypedTS<T>::registerSubscriberTyped(long long connection_id, Connection_t& connection,
                                            Read_Callback<T> callback) const {
    m_tss->registerSubscriber(connection, std::make_unique<Listeners::SubscriberListenerTyped<T>>(
                                              m_tss->name(), connection_id, std::move(callback)));
}

extern template class HC_TypedTS<aspn2_msgs::idl::CommandResponse>;
extern template class HC_TypedTS<aspn2_msgs::idl::EventLog>;
extern template class HC_TypedTS<aspn2_msgs::idl::MaintenanceEvent>;

}  // namespace FACE::TSS::Details
