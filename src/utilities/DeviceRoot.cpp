#include "utilities/DeviceRoot.h"

#include <cstdlib>

namespace utilities {

std::string resolvePath(std::string_view path) {
    const bool ofPlatform = path == "/dev/mem" || path.starts_with("/dev/mcs") ||
                            path.starts_with("/opt/halcyrine/config/");
    // Set before the process starts and never changed by it.
    const char* root = ofPlatform ? std::getenv("HALCYRINE_ROOT") : nullptr;
    if (root == nullptr) {
        return std::string(path);
    }
    std::string resolved(root);
    while (resolved.ends_with('/')) {
        resolved.pop_back();
    }
    return resolved.append(path);
}

}  // namespace utilities
