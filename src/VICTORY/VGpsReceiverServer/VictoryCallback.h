/** The conventions that callbacks keep: those of the VICTORY service, of topics and queues. */
#pragma once

#include <exception>

#include "VICTORY/VGpsReceiverServer/VGpsReceiverServer.h"

template <typename Body>
int VGpsReceiverServer::guardCallback(void* data, int onNull, Body body) {
    if (data == nullptr) {
        report(
            "VGpsReceiverServer: instance pointer was not found in VICTORY callbackData "
            "parameter");
        return onNull;
    }
    try {
        return body(*static_cast<VGpsReceiverServer*>(data));
    } catch (const std::exception& exception) {
        report(std::string("VGpsReceiverServer: An exception occurred. Details: ") +
               exception.what());
    } catch (...) {
        report("VGpsReceiverServer: Unknown c++ exception occurred");
    }
    return 1;
}

template <typename Body>
void VGpsReceiverServer::guardTopic(const char* operation, const char* unknown, Body body,
                                    utilities::SourcePlace place) {
    try {
        body();
    } catch (const std::exception& exception) {
        reportException(operation, " : ",
                        m_serverName + ": An exception occurred. Details: " + exception.what(),
                        place);
    } catch (...) {
        reportException(operation, " : ", m_serverName + unknown, place);
    }
}
