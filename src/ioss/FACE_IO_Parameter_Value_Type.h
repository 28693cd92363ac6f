/** The value of a device parameter: one of twelve plain types, told apart by a number. */
#pragma once

#include <cstddef>
#include <cstdint>
#include <variant>

namespace FACE::IOSS {

/** A tagged value. Default: discriminator 0, all zero.
 *
 *  Each member has three functions of its name: `name(value)` sets it and the discriminator;
 *  `name()` selects it, from zero when another was selected, and gives a reference to it;
 *  `name(out, rc)` copies it out, or gives OTHER_DISCRIMINATOR and leaves `out` alone.
 */
class IO_PARAMETER_VALUE_TYPE {
    /** In the order of the discriminators. */
    using Value =
        std::variant<std::int16_t, std::int32_t, std::int64_t, std::uint16_t, std::uint32_t,
                     std::uint64_t, float, double, long double, signed char, bool, std::uint8_t>;
    template <std::size_t Index>
    using Member = std::variant_alternative_t<Index, Value>;

public:
    enum RETURN_CODE : std::uint32_t { NO_ERROR = 0, OTHER_DISCRIMINATOR = 1 };

    std::uint32_t descriminator() const noexcept {
        return static_cast<std::uint32_t>(m_value.index());
    }

#define HC_IO_PARAMETER_VALUE(index, name)                            \
    void name(Member<index> value) noexcept {                         \
        m_value.emplace<index>(value);                                \
    }                                                                 \
    Member<index>& name() noexcept {                                  \
        return select<index>();                                       \
    }                                                                 \
    void name(Member<index>& value, RETURN_CODE& rc) const noexcept { \
        copyOut<index>(value, rc);                                    \
    }

    HC_IO_PARAMETER_VALUE(0, short_value)
    HC_IO_PARAMETER_VALUE(1, long_value)
    HC_IO_PARAMETER_VALUE(2, longlong_value)
    HC_IO_PARAMETER_VALUE(3, ushort_value)
    HC_IO_PARAMETER_VALUE(4, ulong_value)
    HC_IO_PARAMETER_VALUE(5, ulonglong_value)
    HC_IO_PARAMETER_VALUE(6, float_value)
    HC_IO_PARAMETER_VALUE(7, double_value)
    HC_IO_PARAMETER_VALUE(8, longdouble_value)
    HC_IO_PARAMETER_VALUE(9, char_value)
    HC_IO_PARAMETER_VALUE(10, boolean_value)
    HC_IO_PARAMETER_VALUE(11, octet_value)
#undef HC_IO_PARAMETER_VALUE

private:
    template <std::size_t Index>
    Member<Index>& select() noexcept {
        if (m_value.index() != Index) {
            m_value.emplace<Index>();
        }
        return *std::get_if<Index>(&m_value);
    }

    template <std::size_t Index>
    void copyOut(Member<Index>& value, RETURN_CODE& rc) const noexcept {
        const Member<Index>* const member = std::get_if<Index>(&m_value);
        rc = member != nullptr ? NO_ERROR : OTHER_DISCRIMINATOR;
        if (member != nullptr) {
            value = *member;
        }
    }

    Value m_value;
};

}  // namespace FACE::IOSS
