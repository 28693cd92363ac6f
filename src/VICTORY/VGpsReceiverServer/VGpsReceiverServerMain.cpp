#include <csignal>
#include <cstdlib>
#include <exception>

#include "VICTORY/VGpsReceiverServer/ProcessLife.h"
#include "VICTORY/VGpsReceiverServer/VGpsReceiverServer.h"
#include "face/FACE_Common.h"
#include "face/FACE_String.h"
#include "utilities/Console.h"

namespace {

using FACE::Return_Code_Value_No_Error_No_Action;
using ReturnCode = FACE::RETURN_CODE_TYPE::Value;
namespace Halcyrine = FACE::LCM::Halcyrine;

void bringUp(VGpsReceiverServer& server, const FACE::String& file) {
    FACE::LCM::Initializable::InitializableInstance& initializable = server;
    FACE::LCM::Configurable::ConfigurableInstance& configurable = server;
    FACE::LCM::Connectable::ConnectableInstance& connectable = server;
    Halcyrine::RequestedState_ReportedState::Stateful::StatefulInstance& stateful = server;

    ReturnCode rc = FACE::RETURN_CODE_TYPE::NO_ERROR;
    callOnceTransactionally([&](ReturnCode& code) { initializable.Initialize(code); }, rc);
    Return_Code_Value_No_Error_No_Action(__FILE__, __LINE__, "Initialize() failed", rc);
    configurable.Configure(file, rc);
    Return_Code_Value_No_Error_No_Action(__FILE__, __LINE__, "Configure() failed", rc);
    callOnceTransactionally([&](ReturnCode& code) { connectable.Framework_Connect(file, code); },
                            rc);
    Return_Code_Value_No_Error_No_Action(__FILE__, __LINE__, "Framework_Connect() failed", rc);
    callOnceTransactionally(
        [&](ReturnCode& code) {
            stateful.Request_State_Transition(Halcyrine::RequestedState::START, code);
        },
        rc);
    Return_Code_Value_No_Error_No_Action(__FILE__, __LINE__,
                                         "Request_State_Transition(START) failed", rc);
}

void bringDown(VGpsReceiverServer& server) {
    FACE::LCM::Initializable::InitializableInstance& initializable = server;
    FACE::LCM::Connectable::ConnectableInstance& connectable = server;
    Halcyrine::RequestedState_ReportedState::Stateful::StatefulInstance& stateful = server;

    ReturnCode rc = FACE::RETURN_CODE_TYPE::NO_ERROR;
    callOnceTransactionally(
        [&](ReturnCode& code) {
            stateful.Request_State_Transition(Halcyrine::RequestedState::STOP, code);
        },
        rc);
    Return_Code_Value_No_Error_No_Action(__FILE__, __LINE__,
                                         "Request_State_Transition(STOP) failed", rc);
    callOnceTransactionally([&](ReturnCode& code) { connectable.Framework_Disconnect(code); }, rc);
    Return_Code_Value_No_Error_No_Action(__FILE__, __LINE__, "Framework_Disconnect() failed", rc);
    callOnceTransactionally([&](ReturnCode& code) { initializable.Finalize(code); }, rc);
    Return_Code_Value_No_Error_No_Action(__FILE__, __LINE__, "Finalize() failed", rc);
}

void serve(const char* program, const char* configurationFile) {
    FACE::String::RETURN_CODE stringCode = FACE::String::NO_ERROR;
    const FACE::String file(configurationFile, stringCode);
    VGpsReceiverServer server;
    bringUp(server, file);
    SetupSignalHandler();
    while (exitFlag == 0) {
        sleepMilliseconds(exitPollMs);
    }
    bringDown(server);
    utilities::printLine("!!!!!! ", program, " has exited. Signal: ", exitSignal.load());
}

}  // namespace

int main(int argc, char* argv[]) {
    if (argc != 2) {
        utilities::printLine("Usage: ", argc > 0 ? argv[0] : "VGpsReceiverServer",
                             " <top-level-config-file> ");
        return EXIT_FAILURE;
    }
    // A log reader or queue peer that goes away is an error of that write, not the process's end.
    std::signal(SIGPIPE, SIG_IGN);
    try {
        serve(argv[0], argv[1]);
        return EXIT_SUCCESS;
    } catch (const std::exception& exception) {
        // Unwinding has released what was up by then.
        utilities::printErrorLine(exception.what());
        return EXIT_FAILURE;
    }
}
