#include "ioss_mcsq/GssipMcsq.h"

#include <algorithm>
#include <cstring>
#include <sstream>
#include <utility>

#include "ASPN/HealthReporter.h"
#include "face/HC_Config.h"
#include "ioss_mcsq/GssipTopicSerializer.h"
#include "utilities/Console.h"

using aspn2_msgs::idl::GSSIP;
using FACE::RETURN_CODE_TYPE;
using FACE::IOSS::MCSQ::NOTIFICATION_EVENT_TYPE;
using utilities::MutexLock;

namespace {

using Bytes = FACE::Sequence<unsigned char>;

/** A frame's message id is its second 16-bit word, in host byte order. */
constexpr std::size_t MESSAGE_ID_OFFSET = 2;

/** A frame that ends before its id can't be told what it is; who gets it reads the id first. */
bool hasMessageId(const GSSIP& message) {
    return message.data().size() >= MESSAGE_ID_OFFSET + sizeof(std::uint16_t);
}

std::uint16_t messageId(const GSSIP& message) {
    std::uint16_t id = 0;
    std::memcpy(&id, message.data().data() + MESSAGE_ID_OFFSET, sizeof(id));
    return id;
}

bool tellsItsLength(const GSSIP& message) {
    return std::cmp_equal(message.num_bytes(), message.data().size());
}

std::vector<unsigned short> numbersIn(const std::vector<std::string>& texts) {
    std::vector<unsigned short> numbers;
    for (const std::string& text : texts) {
        unsigned short number = 0;
        if (std::istringstream(text) >> number) {
            numbers.push_back(number);
        }
    }
    return numbers;
}

FACE::IOSS::MCSQ::Read_Payload payloadOver(unsigned char* block, std::uint32_t size) {
    Bytes::RETURN_CODE ignored = Bytes::NO_ERROR;
    return {0, Bytes(block, size, size, ignored)};
}

}  // namespace

GssipMcsq::GssipMcsq(const std::string& name) : GssipMcsq(name, std::vector<unsigned short>()) {}

GssipMcsq::GssipMcsq(const std::string& name, const std::vector<std::string>& filter)
    : GssipMcsq(name, numbersIn(filter)) {}

GssipMcsq::GssipMcsq(const std::string& name, const std::vector<unsigned short>& filter)
    : m_name(name),
      m_filter(filter),
      m_block(std::make_unique<unsigned char[]>(MAX_BLOCK)),
      m_payload(payloadOver(m_block.get(), MAX_BLOCK)) {}

GssipMcsq::~GssipMcsq() {
    for (const auto& [connection, callback] : m_callbacks) {
        Return_Code ignored = RETURN_CODE_TYPE::NO_ERROR;
        m_service.Close_Connection(connection, ignored);  // which ends its notifications, too
    }
}

void GssipMcsq::Connect_WriteOnly(const FACE::String& file, const FACE::String& name,
                                  long long& connection, Return_Code& rc) {
    rc = RETURN_CODE_TYPE::NO_ACTION;
    m_service.Set_Reference("unused_name", std::make_shared<FACE::HC_Config>(), 0, rc);
    if (rc == RETURN_CODE_TYPE::INVALID_PARAM) {
        return;
    }
    m_service.Initialize(file, rc);
    if (rc == RETURN_CODE_TYPE::NO_ERROR || rc == RETURN_CODE_TYPE::NO_ACTION) {
        m_service.Open_Connection(name, -1, connection, rc);
    }
}

void GssipMcsq::Connect_ReadOnly(const FACE::String& file, const FACE::String& name,
                                 Callback callback, Return_Code& rc) {
    long long connection = -1;
    Connect_IOWrite(file, name, connection, std::move(callback), rc);
    if (rc == RETURN_CODE_TYPE::NO_ERROR) {
        m_service.Register_Notification_Event(connection, *this, rc);
    }
}

void GssipMcsq::Connect_IOWrite(const FACE::String& file, const FACE::String& name,
                                long long& connection, Callback callback, Return_Code& rc) {
    Connect_WriteOnly(file, name, connection, rc);
    if (rc == RETURN_CODE_TYPE::NO_ERROR) {
        const MutexLock lock(m_callbacksMutex);
        m_callbacks[connection] =
            callback ? std::make_shared<const Callback>(std::move(callback)) : nullptr;
    }
}

bool GssipMcsq::IsInitialized(long long connection) {
    std::uint16_t status = 1;
    Return_Code ignored = RETURN_CODE_TYPE::NO_ERROR;
    m_service.Get_Bus_Status(connection, status, ignored);
    return status == 0;
}

void GssipMcsq::Write(long long& connection, const GSSIP& message, Return_Code& rc) {
    if (!IsInitialized(connection)) {
        return;
    }
    writeToQueue(connection, message, rc);
    if (const SharedCallback callback = callbackOf(connection)) {
        (*callback)(message);
    }
}

void GssipMcsq::writeToQueue(long long connection, const GSSIP& message, Return_Code& rc) {
    const bool filtered = hasMessageId(message) && std::find(m_filter.begin(), m_filter.end(),
                                                             messageId(message)) != m_filter.end();
    std::vector<unsigned char> record;
    if (filtered || !tellsItsLength(message) || !GssipTopicSerializer::Serialize(message, record)) {
        return;
    }
    const Bytes payload(record.data(), record.size());
    if (payload.length() > 0) {
        m_service.Write(connection, -1, payload, rc);
    }
}

GssipMcsq::SharedCallback GssipMcsq::callbackOf(long long connection) {
    const MutexLock lock(m_callbacksMutex);
    const auto found = m_callbacks.find(connection);
    return found == m_callbacks.end() ? nullptr : found->second;
}

void GssipMcsq::Process_Notification_Event(long long connection,
                                           NOTIFICATION_EVENT_TYPE::Value event) {
    if (event != NOTIFICATION_EVENT_TYPE::DATA_AVAILABLE) {
        return;
    }
    const MutexLock lock(m_mutex);
    m_payload.data.resize(MAX_BLOCK);
    Return_Code rc = RETURN_CODE_TYPE::NO_ERROR;
    m_service.Read(connection, 0, m_payload, rc);
    if (rc == RETURN_CODE_TYPE::NO_ERROR) {
        processMessage(connection);
    }
}

// Records carry no mark to find the next one by: behind one that fails, nothing can be trusted.
void GssipMcsq::processMessage(long long connection) {
    unsigned char* next = m_payload.data.buffer();
    std::size_t remainder = m_payload.data.length();
    const SharedCallback callback = callbackOf(connection);
    while (remainder != 0) {
        const std::size_t size = takeRecord(next, remainder);
        if (size == 0) {
            return;
        }
        next += size;
        remainder -= size;
        if (callback) {
            handOut(*callback);
        }
    }
}

std::size_t GssipMcsq::takeRecord(unsigned char* bytes, std::size_t remainder) {
    constexpr std::size_t overhead = GssipTopicSerializer::RECORD_OVERHEAD;
    try {
        const bool decoded = GssipTopicSerializer::Deserialize(
            m_type, bytes, static_cast<int>(remainder), &m_message);
        const std::size_t length = m_message.data().size();
        if (decoded && tellsItsLength(m_message) && remainder >= overhead &&
            length <= remainder - overhead) {
            return overhead + length;
        }
    } catch (...) {
        report(__LINE__, "");
        return 0;
    }
    report(__LINE__, utilities::concat("on deserialize. Max Length: ", MAX_BLOCK,
                                       " MCSQ remainder: ", remainder));
    return 0;
}

void GssipMcsq::handOut(const Callback& callback) {
    if (!hasMessageId(m_message)) {
        return;
    }
    try {
        callback(m_message);
    } catch (...) {
        report(__LINE__, "");
    }
}

void GssipMcsq::report(int line, std::string_view what) const {
    const std::string text = utilities::concat(
        m_name, ": Process_Notification_Event(): A memory exception occurred ", what);
    HealthReporter::Instance().SendEvent(__FILE__, line, HealthReporter::EVENT_WARNING, text);
    utilities::printLine(text);
}
