/** A device service's hold on its configuration. */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "face/FACE_Common.h"

namespace FACE::IOSS {

/** Set once, initialized once, then read by container. One thread at a time. */
class Device_Configuration {
public:
    /** NOT_AVAILABLE: set already; INVALID_PARAM: null; else NO_ERROR. */
    void Set_Reference(const std::shared_ptr<Configuration>& configuration,
                       RETURN_CODE_TYPE::Value& rc);

    /** Initializes the configuration, which another user may have done already. NO_ACTION: done
     *  before through this object; INVALID_CONFIG: none set, or its own Initialize failed; else
     *  NO_ERROR.
     */
    void Initialize(const String& file, RETURN_CODE_TYPE::Value& rc);

    /** The numbers that a container's parameters hold, cut to 32 bits; none when the container or
     *  one of them is missing. Passes on what the configuration throws.
     */
    template <std::size_t Count>
    std::optional<std::array<std::uint32_t, Count>> read(
        const String& container, const std::array<const char*, Count>& names) const {
        std::array<std::uint32_t, Count> values{};
        if (!read(container, names, values)) {
            return std::nullopt;
        }
        return values;
    }

private:
    bool read(const String& container, std::span<const char* const> names,
              std::span<std::uint32_t> values) const;

    std::shared_ptr<Configuration> m_configuration;
    bool m_initialized = false;
};

}  // namespace FACE::IOSS
