/** Makes a message's class from the list of its fields.
 *
 *  A list is a macro that names each field once, in wire order, its name first and then its type
 *  (which may contain commas):
 *
 *      #define ASPN2_FIELDS_header(FIELD)                       \
 *          FIELD(seq_num, std::int64_t)                         \
 *          FIELD(timestamp_arrival, aspn2_msgs::idl::timestamp) \
 *          ...
 *      ASPN2_DECLARE_STRUCTURE(header)      in the header, within namespace aspn2_msgs::idl
 *      ASPN2_DEFINE_STRUCTURE(header)       in the source, likewise
 *
 *  Field types: bool, integers, float, double, enumerations on std::uint32_t, std::string, other
 *  structures, std::array of any of these but strings (of arrays too), std::vector of any but bool.
 *  A structure with a string or sequence has more than 8 bytes of other fields in front of it, as
 *  the header of a message is. A type that bears the name of a field of the same list is written
 *  with its namespaces: inside the class, the field's accessors hide it.
 *
 *  What follows from the list: a value class whose default constructor zeroes it, that copies,
 *  moves and compares; for each field a const getter, a getter that returns a reference, and
 *  setters, all of the field's name; and the operations of its CDR form:
 *
 *      getMaxCdrSerializedSize(at)   bytes that the largest value takes from position `at` on, with
 *                                    strings of 255 characters and sequences of 100 elements
 *      getCdrSerializedSize(v, at)   bytes that `v` takes from position `at` on, exactly
 *      serialize(cdr)                throws NotEnoughMemoryException
 *      deserialize(cdr)              throws NotEnoughMemoryException, or BadParamException for a
 *                                    bool other than 0 and 1; the object may then hold some of the
 *                                    new fields. Strings and sequences keep their capacity.
 *      isKeyDefined, serializeKey, getKeyMaxCdrSerializedSize    no type has a key
 *
 *  Objects have no threads or locks of their own.
 */
#pragma once

#include <array>
#include <cstddef>
#include <string_view>
#include <type_traits>
#include <utility>

#include "aspn2_msgs/Cdr.h"

namespace aspn2_msgs {

/** What a const getter returns: small values by value, all others by reference. */
template <class T>
using Got = std::conditional_t<std::is_scalar_v<T>, T, const T&>;

}  // namespace aspn2_msgs

// The first operand absorbs the comma in front of each reference.
#define ASPN2_REFERENCE(name, ...) , m_##name

#define ASPN2_NAME(name, ...) #name,

#define ASPN2_MEMBER(name, ...) __VA_ARGS__ m_##name{};

#define ASPN2_ACCESSORS(name, ...)                    \
    ::aspn2_msgs::Got<__VA_ARGS__> name() const {     \
        return m_##name;                              \
    }                                                 \
    __VA_ARGS__& name() {                             \
        return m_##name;                              \
    }                                                 \
    void name(const __VA_ARGS__& value) {             \
        m_##name = value;                             \
    }                                                 \
    void name(__VA_ARGS__&& value) {                  \
        m_##name = static_cast<__VA_ARGS__&&>(value); \
    }

#define ASPN2_DECLARE_STRUCTURE(T)                                                                 \
    class T {                                                                                      \
    public:                                                                                        \
        static constexpr const char* cdrTypeName = "aspn2_msgs::idl::" #T;                         \
                                                                                                   \
        ASPN2_FIELDS_##T(ASPN2_ACCESSORS)                                                          \
                                                                                                   \
            bool                                                                                   \
            operator==(const T&) const = default;                                                  \
                                                                                                   \
        static std::size_t getMaxCdrSerializedSize(std::size_t current_alignment = 0);             \
        static std::size_t getCdrSerializedSize(const T& value,                                    \
                                                std::size_t current_alignment = 0);                \
        void serialize(eprosima::fastcdr::Cdr& cdr) const;                                         \
        void deserialize(eprosima::fastcdr::Cdr& cdr);                                             \
                                                                                                   \
        static bool isKeyDefined() { return false; }                                               \
        void serializeKey(eprosima::fastcdr::Cdr& /*cdr*/) const {}                                \
        static std::size_t getKeyMaxCdrSerializedSize(std::size_t current_alignment = 0) {         \
            return current_alignment;                                                              \
        }                                                                                          \
                                                                                                   \
        /** The names of the fields, in wire order. */                                             \
        static constexpr ::std::array cdrFieldNames =                                              \
            ::std::to_array<::std::string_view>({ASPN2_FIELDS_##T(ASPN2_NAME)});                   \
        /** The fields as a tuple of references, in the same order. */                             \
        auto cdrFields() { return ::aspn2_msgs::references(0 ASPN2_FIELDS_##T(ASPN2_REFERENCE)); } \
        auto cdrFields() const {                                                                   \
            return ::aspn2_msgs::references(0 ASPN2_FIELDS_##T(ASPN2_REFERENCE));                  \
        }                                                                                          \
                                                                                                   \
    private:                                                                                       \
        ASPN2_FIELDS_##T(ASPN2_MEMBER)                                                             \
    };

#define ASPN2_DEFINE_STRUCTURE(T)                                                             \
    std::size_t T::getMaxCdrSerializedSize(std::size_t current_alignment) {                   \
        return ::aspn2_msgs::cdr::Rule<T>::maxEnd(current_alignment) - current_alignment;     \
    }                                                                                         \
    std::size_t T::getCdrSerializedSize(const T& value, std::size_t current_alignment) {      \
        return ::aspn2_msgs::cdr::Rule<T>::end(current_alignment, value) - current_alignment; \
    }                                                                                         \
    void T::serialize(eprosima::fastcdr::Cdr& cdr) const {                                    \
        ::aspn2_msgs::cdr::write(cdr, *this);                                                 \
    }                                                                                         \
    void T::deserialize(eprosima::fastcdr::Cdr& cdr) {                                        \
        ::aspn2_msgs::cdr::read(cdr, *this);                                                  \
    }

namespace aspn2_msgs {

template <class... Fields>
std::tuple<Fields&...> references(int /*ahead of the first comma*/, Fields&... fields) {
    return {fields...};
}

}  // namespace aspn2_msgs
