#pragma once

#include <atomic>
#include <chrono>
#include <vector>

#include "tss/TypedTS.h"
#include "utilities/Mutex.h"

/** A transport that keeps what it is given. */
template <typename T>
class KeptRecords : public FACE::TSS::TypedTS<T> {
public:
    using Code = FACE::RETURN_CODE_TYPE::Value;

    void Receive_Message(long long, long long, long long&, T&, FACE::TSS::HEADER_TYPE&,
                         FACE::Sequence<FACE::TSS::QoS_Element>&, Code&) override {}
    void Register_Callback(long long, FACE::TSS::Read_Callback<T>, Code&) override {}
    void Register_Sender(long long, Code& rc) override { rc = senderCode; }
    void Send_Message(long long connection, long long, long long&, const T& record,
                      Code& rc) override {
        onSend();
        const utilities::MutexLock lock(m_mutex);
        m_records.push_back(record);
        lastConnection = connection;
        m_changed.notify_all();
        rc = sendCode;
    }
    /** What came until there were `count`, or patience ended. */
    std::vector<T> waitFor(std::size_t count) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        const utilities::MutexLock lock(m_mutex);
        while (m_records.size() < count && m_changed.wait_until(m_mutex, deadline)) {
        }
        return m_records;
    }

    Code senderCode = FACE::RETURN_CODE_TYPE::NO_ERROR;
    Code sendCode = FACE::RETURN_CODE_TYPE::NO_ERROR;
    std::atomic<long long> lastConnection{-1};

protected:
    /** Before a record is taken; may throw. */
    virtual void onSend() {}

private:
    utilities::Mutex m_mutex;
    utilities::Condition m_changed;
    std::vector<T> m_records GUARDED_BY(m_mutex);
};
