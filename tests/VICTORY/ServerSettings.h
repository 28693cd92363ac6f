#pragma once

#include <map>
#include <string>

#include "VICTORY/VGpsReceiverServer/VGpsReceiverServer.h"
#include "bench/DeviceRoot.h"

/** Configures the server as the unit's own file does, but for `settings`.
 *  @return the code of Configure
 */
inline FACE::RETURN_CODE_TYPE::Value configure(VGpsReceiverServer& server,
                                               const std::map<std::string, std::string>& settings) {
    bench::DeviceRoot root;
    for (const auto& [name, value] : settings) {
        root.setParameter(bench::serverFile, "VGpsReceiverServer", name, value);
    }
    FACE::String::RETURN_CODE ignored = FACE::String::NO_ERROR;
    const FACE::String file(root.configFile(bench::serverFile).c_str(), ignored);
    FACE::RETURN_CODE_TYPE::Value rc{};
    server.Configure(file, rc);
    return rc;
}
