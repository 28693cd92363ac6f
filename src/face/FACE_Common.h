/** The vocabulary of every component: return codes, the guards that turn a bad one into an
 *  exception, and the abstract interfaces.
 *
 *  Each operation reports through its last parameter. Inside an implementation exceptions are
 * caught at the interface and become codes.
 */
#pragma once

#include <cstdint>
#include <memory>

#include "face/FACE_String.h"

namespace FACE {

struct RETURN_CODE_TYPE {
    enum Value : std::uint32_t {
        NO_ERROR = 0,
        NO_ACTION = 1,
        NOT_AVAILABLE = 2,
        INVALID_PARAM = 3,
        INVALID_CONFIG = 4,
        INVALID_MODE = 5,
        TIMED_OUT = 6,
        ADDR_IN_USE = 7,
        PERMISSION_DENIED = 8,
        MESSAGE_STALE = 9,
        IN_PROGRESS = 10,
        CONNECTION_CLOSED = 11,
        DATA_BUFFER_TOO_SMALL = 12,
        DATA_OVERFLOW = 13,
    };

    /** The code's name, "RC_UNKNOWN" for a value that has none, as a managed string. */
    static String ToString(Value code) noexcept;
};

/** Return when `code` is NO_ERROR (the second: or NO_ACTION). Any other is written to standard
 *  output as a line `file[line]:CODE message`, and thrown as a std::runtime_error of that text.
 *  `file` is shown as it is passed.
 */
void Return_Code_Value_No_Error(const char* file, int line, const char* message,
                                RETURN_CODE_TYPE::Value code);
void Return_Code_Value_No_Error_No_Action(const char* file, int line, const char* message,
                                          RETURN_CODE_TYPE::Value code);

/** Named containers of parameters. A handle from `Open` stands for one container at a time and
 *  moves among the containers of its kind with `Seek`.
 */
class Configuration {
public:
    struct WHENCE_TYPE {
        enum Value : std::uint32_t {
            SEEK_FROM_START = 0,
            SEEK_FROM_CURRENT = 1,
            SEEK_FROM_END = 2
        };
    };

    virtual ~Configuration() = default;

    virtual void Initialize(const String& file, RETURN_CODE_TYPE::Value& rc) = 0;
    virtual void Open(const String& container, int& handle, RETURN_CODE_TYPE::Value& rc) = 0;
    /** `size` [bytes] of the parameter's text, without a terminator. */
    virtual void Get_Size(int handle, const String& parameter, int& size,
                          RETURN_CODE_TYPE::Value& rc) = 0;
    virtual void Read(int handle, const String& parameter, void* buffer, int buffer_size,
                      int& bytes_read, RETURN_CODE_TYPE::Value& rc) = 0;
    virtual void Write(int handle, const String& parameter, void* buffer, int buffer_size,
                       int& bytes_written, RETURN_CODE_TYPE::Value& rc) = 0;
    virtual void Seek(int handle, WHENCE_TYPE::Value whence, int offset,
                      RETURN_CODE_TYPE::Value& rc) = 0;
    virtual void Close(int handle, RETURN_CODE_TYPE::Value& rc) = 0;
};

namespace Configuration_Injectable {

/** Takes the configuration it is to use, before its own Initialize. */
class Injectable {
public:
    virtual ~Injectable() = default;
    virtual void Set_Reference(const String& interface_name,
                               const std::shared_ptr<Configuration>& reference, long long id,
                               RETURN_CODE_TYPE::Value& rc) = 0;
};

}  // namespace Configuration_Injectable

namespace LCM {

namespace Initializable {

class InitializableInstance {
public:
    virtual ~InitializableInstance() = default;
    virtual void Initialize(RETURN_CODE_TYPE::Value& rc) = 0;
    virtual void Finalize(RETURN_CODE_TYPE::Value& rc) = 0;
};

}  // namespace Initializable

namespace Configurable {

class ConfigurableInstance {
public:
    virtual ~ConfigurableInstance() = default;
    virtual void Configure(const String& file, RETURN_CODE_TYPE::Value& rc) = 0;
};

}  // namespace Configurable

namespace Connectable {

class ConnectableInstance {
public:
    virtual ~ConnectableInstance() = default;
    virtual void Framework_Connect(const String& file, RETURN_CODE_TYPE::Value& rc) = 0;
    virtual void Framework_Disconnect(RETURN_CODE_TYPE::Value& rc) = 0;
};

}  // namespace Connectable

namespace Halcyrine {

struct RequestedState {
    enum Value : std::uint32_t { START = 0, STOP = 1 };
};

struct ReportedState {
    enum Value : std::uint32_t { RUNNING = 0, STOPPED = 1 };
};

namespace RequestedState_ReportedState::Stateful {

class StatefulInstance {
public:
    virtual ~StatefulInstance() = default;
    virtual void Query_State(ReportedState::Value& state, RETURN_CODE_TYPE::Value& rc) = 0;
    virtual void Request_State_Transition(RequestedState::Value state,
                                          RETURN_CODE_TYPE::Value& rc) = 0;
};

}  // namespace RequestedState_ReportedState::Stateful

}  // namespace Halcyrine

}  // namespace LCM

namespace TSS {

/** A transport of named connections. A repeated Create_Connection of a name gives the same id. */
class Base {
public:
    virtual ~Base() = default;

    virtual void Initialize(const String& file, RETURN_CODE_TYPE::Value& rc) = 0;
    /** `timeout` is not honoured; -1 by convention. `max_message_size` [bytes]. */
    virtual void Create_Connection(const String& name, long long timeout, long long& connection,
                                   int& max_message_size, RETURN_CODE_TYPE::Value& rc) = 0;
    virtual void Destroy_Connection(long long connection, RETURN_CODE_TYPE::Value& rc) = 0;
    virtual void Unregister_Sender(long long connection, RETURN_CODE_TYPE::Value& rc) = 0;
    virtual void Unregister_Callback(long long connection, RETURN_CODE_TYPE::Value& rc) = 0;
};

namespace Base_Injectable {

/** Takes the transport it is to use, before its own Initialize. */
class Injectable {
public:
    virtual ~Injectable() = default;
    virtual void Set_Reference(const String& interface_name, const std::shared_ptr<Base>& reference,
                               long long id, RETURN_CODE_TYPE::Value& rc) = 0;
};

}  // namespace Base_Injectable

}  // namespace TSS

}  // namespace FACE
