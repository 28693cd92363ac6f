/** What the device services have in common: the operations, their status and parameter records. */
#pragma once

#include <cstdint>

#include "face/FACE_Common.h"
#include "face/FACE_Sequence.h"
#include "ioss/FACE_IO_Parameter_Value_Type.h"

namespace FACE::IOSS {

struct CONNECTION_STATUS_TYPE {
    std::int64_t time = 0;  ///< always 0
    bool available = false;
    std::uint32_t state = 0;
};

struct IO_PARAMETER_TYPE {
    std::uint16_t id = 0;
    IO_PARAMETER_VALUE_TYPE value;
};

struct IO_PARAMETER_TRANSACTION_TYPE {
    Sequence<IO_PARAMETER_TYPE> parameters;
};

struct NOTIFICATION_EVENT_TYPE {
    enum Value : std::uint32_t { DATA_AVAILABLE = 0 };
};

/** Hears of a connection's events, on the service's own thread. */
class IO_Callback {
public:
    virtual ~IO_Callback() = default;
    virtual void Process_Notification_Event(long long connection,
                                            NOTIFICATION_EVENT_TYPE::Value event) = 0;
};

/** Named connections to devices. Each operation reports through its last parameter; a `timeout` is
 *  not honoured, -1 by convention. A repeated open of a name gives the same id.
 */
template <typename ReadPayload, typename WritePayload>
class Basic_IO_Service {
public:
    using READ_PAYLOAD_TYPE = ReadPayload;
    using WRITE_PAYLOAD_TYPE = WritePayload;
    using Return_Code = RETURN_CODE_TYPE::Value;

    virtual ~Basic_IO_Service() = default;

    virtual void Initialize(const String& file, Return_Code& rc) = 0;
    virtual void Open_Connection(const String& name, long long timeout, long long& connection,
                                 Return_Code& rc) = 0;
    virtual void Close_Connection(long long connection, Return_Code& rc) = 0;
    virtual void Read(long long connection, long long timeout, ReadPayload& payload,
                      Return_Code& rc) = 0;
    virtual void Write(long long connection, long long timeout, const WritePayload& payload,
                       Return_Code& rc) = 0;
    virtual void Configure_Connection_Parameters(long long connection, long long timeout,
                                                 const IO_PARAMETER_TRANSACTION_TYPE& parameters,
                                                 Return_Code& rc) = 0;
    virtual void Get_Connection_Configuration(long long connection, long long timeout,
                                              IO_PARAMETER_TRANSACTION_TYPE& parameters,
                                              Return_Code& rc) = 0;
    virtual void Configure_Bus_Parameters(long long connection, long long timeout,
                                          const IO_PARAMETER_TRANSACTION_TYPE& parameters,
                                          Return_Code& rc) = 0;
    virtual void Get_Bus_Configuration(long long connection, long long timeout,
                                       IO_PARAMETER_TRANSACTION_TYPE& parameters,
                                       Return_Code& rc) = 0;
    virtual void Get_Connection_Status(long long connection, CONNECTION_STATUS_TYPE& status,
                                       Return_Code& rc) = 0;
    virtual void Get_Bus_Status(long long connection, std::uint16_t& status, Return_Code& rc) = 0;
    virtual void Register_Notification_Event(long long connection, IO_Callback& callback,
                                             Return_Code& rc) = 0;
    virtual void Unregister_Notification_Event(long long connection, Return_Code& rc) = 0;
};

}  // namespace FACE::IOSS
