/** The system's message types by name, and the fields of a message for those who don't know its
 *  type when they are built. */
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>

#include "aspn2_msgs/Message.h"
#include "tss/HC_Topic_Helpers.h"

namespace bench {

/** One value of a message; std::uint32_t stands for an enumeration. */
using FieldValue = std::variant<bool, std::uint8_t, std::int32_t, std::uint32_t, std::int64_t,
                                float, double, std::string>;

/** Goes through a message in wire order, and may change it on its way. Names are empty for the
 *  elements of an array or sequence. */
class FieldVisitor {
public:
    FieldVisitor() = default;
    virtual ~FieldVisitor() = default;
    FieldVisitor(const FieldVisitor&) = delete;
    FieldVisitor& operator=(const FieldVisitor&) = delete;

    /** Ahead of and behind what a structure, an array or a sequence holds. */
    virtual void begin(std::string_view /*name*/, bool /*isList*/) {}
    virtual void end() {}
    /** Of a sequence, behind its begin. What it is set to, the sequence is resized to. */
    virtual void count(std::size_t& /*elements*/) {}
    /** `value` keeps its alternative. */
    virtual void value(std::string_view name, FieldValue& value) = 0;
};

template <aspn2_msgs::cdr::Structure T>
void visitFields(T& message, FieldVisitor& visitor);

template <class T>
inline constexpr bool isText = false;
template <std::size_t size>
inline constexpr bool isText<std::array<char, size>> = true;

template <class T>
void visitField(std::string_view name, T& field, FieldVisitor& visitor) {
    if constexpr (std::is_enum_v<T>) {
        FieldValue value(static_cast<std::uint32_t>(field));
        visitor.value(name, value);
        field = static_cast<T>(std::get<std::uint32_t>(value));
    } else if constexpr (isText<T>) {
        FieldValue value(std::string(field.begin(), std::find(field.begin(), field.end(), '\0')));
        visitor.value(name, value);
        const std::string& text = std::get<std::string>(value);
        field = {};
        std::copy_n(text.begin(), std::min(text.size(), field.size()), field.begin());
    } else if constexpr (std::is_arithmetic_v<T> || std::is_same_v<T, std::string>) {
        FieldValue value(field);
        visitor.value(name, value);
        field = std::get<T>(value);
    } else {
        visitor.begin(name, !aspn2_msgs::cdr::Structure<T>);
        if constexpr (aspn2_msgs::cdr::Structure<T>) {
            visitFields(field, visitor);
        } else {
            if constexpr (!aspn2_msgs::cdr::Rule<T>::isFixed) {
                std::size_t elements = field.size();
                visitor.count(elements);
                field.resize(elements);
            }
            for (auto& element : field) {
                visitField({}, element, visitor);
            }
        }
        visitor.end();
    }
}

template <aspn2_msgs::cdr::Structure T>
void visitFields(T& message, FieldVisitor& visitor) {
    const auto fields = message.cdrFields();
    [&]<std::size_t... i>(std::index_sequence<i...>) {
        (visitField(T::cdrFieldNames[i], std::get<i>(fields), visitor), ...);
    }
    (std::make_index_sequence<T::cdrFieldNames.size()>());
}

/** A type of the catalogue. Its type support is known by the name and "PubSubType". */
struct MessageType {
    std::string_view name;
    /** `message`: one of this type, as its type support creates it. */
    void (*visit)(void* message, FieldVisitor& visitor);
};

template <aspn2_msgs::cdr::Structure T>
constexpr MessageType messageType() {
    constexpr std::string_view name = T::cdrTypeName;
    return {name.substr(name.rfind(':') + 1), [](void* message, FieldVisitor& visitor) {
                visitFields(*static_cast<T*>(message), visitor);
            }};
}

/** All that a connection may have, by name. */
std::span<const MessageType> catalogue();
/** Null when there is no such type. */
const MessageType* findMessageType(std::string_view name);

/** Gives a message plain values, each another: the n-th one, from 1, is n as an integer or
 *  enumeration, n + 0.25 as a double, n + 0.5 as a float, whether n is odd as a bool, "text n" as a
 *  text. A sequence gets `elements` elements. */
class Filler : public FieldVisitor {
public:
    explicit Filler(std::size_t elements = 2) : m_elements(elements) {}
    void count(std::size_t& elements) override { elements = m_elements; }
    void value(std::string_view name, FieldValue& value) override;

private:
    const std::size_t m_elements;
    unsigned m_count = 0;
};

}  // namespace bench
