/** The wire rules of all messages, and nothing else knows them.
 *
 *  Plain CDR: fields lie in the order of the type's list, each aligned to its own size counted from
 *  the first byte behind the encapsulation header, with zero bytes in the gaps. An enumeration is
 *  an unsigned 32-bit value; a bool is one byte, 0 or 1. A string is a 32-bit length that counts
 *  its NUL, the characters, the NUL. A sequence is a 32-bit count and its elements, a fixed array
 *  only its elements. A structure adds no bytes of its own.
 *
 *  `Rule<T>` holds what follows for one type, as functions of a position:
 *      alignment   the largest alignment anywhere inside T
 *      first       the size of T's first primitive
 *      isFixed     no string or sequence inside: all values take the same bytes at one position
 *      isPlain     isFixed, and no enumeration inside
 *      minSize     the fewest bytes that a T takes
 *      maxEnd(at)  the position behind the largest T that begins at `at`
 *      end(at, v)  the position behind `v` when it begins at `at`
 *      store       writes `v` at `base + at` and returns the position behind it
 *      load        the reverse, for fixed types; all bytes are there
 *      read        the reverse, for the others, from an Input that checks each step
 *  `base` stands for a position whose alignment is 8.
 *
 *  `read` takes a structure out of memory. "aspn2_msgs/Cdr.h" joins structures to a Cdr.
 */
#pragma once

#include <fastcdr/exceptions/BadParamException.h>
#include <fastcdr/exceptions/NotEnoughMemoryException.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace aspn2_msgs::cdr {

/** What the maximum sizes assume. Figures for buffers: longer data travels all the same. */
inline constexpr std::size_t sizedStringLength = 255;
inline constexpr std::size_t sizedSequenceCount = 100;

/** The count in front of a sequence, the length in front of a string. */
using Count = std::uint32_t;
static_assert(sizeof(std::size_t) >= 8, "a count times an element's size must not wrap");

/** The byte order of the wire, seen from this machine. */
enum class Order { native, swapped };

template <class T>
concept Primitive = std::is_arithmetic_v<T> || std::is_enum_v<T>;

/** A class that gives its fields as a tuple of references, in wire order. */
template <class T>
concept Structure = requires(T& value) {
    value.cdrFields();
};

/** Primitives whose bytes need no look: an array of them moves as one block. */
template <class T, Order order>
inline constexpr bool isBlock =
    Primitive<T> && !std::is_same_v<T, bool> && (order == Order::native || sizeof(T) == 1);

template <std::size_t size>
using Unsigned = std::conditional_t<
    size == 1, std::uint8_t,
    std::conditional_t<size == 2, std::uint16_t,
                       std::conditional_t<size == 4, std::uint32_t, std::uint64_t>>>;

[[noreturn]] inline void throwNotEnoughMemory() {
    using eprosima::fastcdr::exception::NotEnoughMemoryException;
    throw NotEnoughMemoryException(NotEnoughMemoryException::NOT_ENOUGH_MEMORY_MESSAGE_DEFAULT);
}

constexpr std::size_t alignUp(std::size_t at, std::size_t alignment) {
    return (at + alignment - 1) & ~(alignment - 1);
}

/** Writes the zero bytes up to the next position of `alignment`, and returns it. */
inline std::size_t storePadding(char* base, std::size_t at, std::size_t alignment) {
    const std::size_t next = alignUp(at, alignment);
    for (; at < next; ++at) {
        base[at] = 0;
    }
    return next;
}

template <Order order, class Bits>
constexpr Bits ordered(Bits bits) {
    if constexpr (order == Order::swapped && sizeof(Bits) == 2) {
        return __builtin_bswap16(bits);
    } else if constexpr (order == Order::swapped && sizeof(Bits) == 4) {
        return __builtin_bswap32(bits);
    } else if constexpr (order == Order::swapped && sizeof(Bits) == 8) {
        return __builtin_bswap64(bits);
    } else {
        return bits;
    }
}

template <class T>
struct Rule;

/** What an Input steps through: `take` gives the next bytes, `require` only looks whether they are
 *  there. Both throw NotEnoughMemoryException where they aren't, before anything is read. A step
 *  in `rewinding` that throws leaves the source where it began, if anybody may read on from there.
 *
 *  This one is memory, of which nobody reads on when a message in it fails.
 */
class MemorySource {
public:
    MemorySource(const char* bytes, std::size_t size) : m_here(bytes), m_left(size) {}

    const char* take(std::size_t size) {
        require(size);
        m_left -= size;
        return std::exchange(m_here, m_here + size);
    }
    void require(std::size_t size) const {
        if (size > m_left) {
            throwNotEnoughMemory();
        }
    }
    template <class Step>
    void rewinding(Step step) {
        step();
    }

private:
    const char* m_here;
    std::size_t m_left;
};

/** Steps through a source by the rules of alignment. Each step is checked against the bytes that
 *  remain before anything is read or allocated.
 */
template <class Source>
class Input : public Source {
public:
    /** `at`: the source's position modulo 8, counted from where alignment counts; so many bytes lie
     *  in front of it. */
    Input(Source source, std::size_t at) : Source(source), m_at(at % 8) {}

    template <Order order, class T>
    void read(T& value) {
        if constexpr (Rule<T>::isFixed) {
            const std::size_t at = m_at;
            Rule<T>::template load<order>(take(Rule<T>::maxEnd(at) - at) - at, at, value);
        } else {
            Rule<T>::template read<order>(*this, value);
        }
    }

    template <Order order>
    Count readCount() {
        Count count = 0;
        read<order>(count);
        return count;
    }

    /** The next `size` bytes, at an alignment of `alignment`. */
    const char* takeAligned(std::size_t size, std::size_t alignment) {
        const std::size_t padding = alignUp(m_at, alignment) - m_at;
        return take(padding + size) + padding;
    }

private:
    const char* take(std::size_t size) {
        const char* const bytes = Source::take(size);
        m_at = (m_at + size) % 8;
        return bytes;
    }

    std::size_t m_at;
};

template <Primitive T>
struct Rule<T> {
    static_assert(!std::is_enum_v<T> || sizeof(T) == sizeof(std::uint32_t));
    static_assert(sizeof(T) <= 8);

    static constexpr std::size_t alignment = sizeof(T);
    static constexpr std::size_t first = sizeof(T);
    static constexpr std::size_t minSize = sizeof(T);
    static constexpr bool isFixed = true;
    static constexpr bool isPlain = !std::is_enum_v<T>;

    static constexpr std::size_t maxEnd(std::size_t at) {
        return alignUp(at, alignment) + sizeof(T);
    }
    static std::size_t end(std::size_t at, const T& /*value*/) { return maxEnd(at); }

    template <Order order>
    static std::size_t store(char* base, std::size_t at, const T& value) {
        at = storePadding(base, at, alignment);
        const auto bits = ordered<order>(std::bit_cast<Unsigned<sizeof(T)>>(value));
        std::memcpy(base + at, &bits, sizeof(bits));
        return at + sizeof(T);
    }

    template <Order order>
    static std::size_t load(const char* base, std::size_t at, T& value) {
        at = alignUp(at, alignment);
        Unsigned<sizeof(T)> bits = 0;
        std::memcpy(&bits, base + at, sizeof(bits));
        if constexpr (std::is_same_v<T, bool>) {
            if (bits > 1) {
                using eprosima::fastcdr::exception::BadParamException;
                throw BadParamException("a bool is neither 0 nor 1");
            }
        }
        value = std::bit_cast<T>(ordered<order>(bits));
        return at + sizeof(T);
    }
};

template <class E, std::size_t n>
struct Rule<std::array<E, n>> {
    static_assert(n > 0);
    static_assert(Rule<E>::isFixed, "no message has an array of strings or sequences");

    static constexpr std::size_t alignment = Rule<E>::alignment;
    static constexpr std::size_t first = Rule<E>::first;
    static constexpr std::size_t minSize = n * Rule<E>::minSize;
    static constexpr bool isFixed = true;
    static constexpr bool isPlain = Rule<E>::isPlain;

    static constexpr std::size_t maxEnd(std::size_t at) {
        for (std::size_t i = 0; i < n; ++i) {
            at = Rule<E>::maxEnd(at);
        }
        return at;
    }
    static std::size_t end(std::size_t at, const std::array<E, n>& /*value*/) { return maxEnd(at); }

    template <Order order>
    static std::size_t store(char* base, std::size_t at, const std::array<E, n>& value) {
        if constexpr (isBlock<E, order>) {
            at = storePadding(base, at, alignment);
            std::memcpy(base + at, value.data(), sizeof(value));
            return at + sizeof(value);
        } else {
            for (const E& element : value) {
                at = Rule<E>::template store<order>(base, at, element);
            }
            return at;
        }
    }

    template <Order order>
    static std::size_t load(const char* base, std::size_t at, std::array<E, n>& value) {
        if constexpr (isBlock<E, order>) {
            at = alignUp(at, alignment);
            std::memcpy(value.data(), base + at, sizeof(value));
            return at + sizeof(value);
        } else {
            for (E& element : value) {
                at = Rule<E>::template load<order>(base, at, element);
            }
            return at;
        }
    }
};

template <>
struct Rule<std::string> {
    static constexpr std::size_t alignment = sizeof(Count);
    static constexpr std::size_t first = sizeof(Count);
    static constexpr std::size_t minSize = sizeof(Count);
    static constexpr bool isFixed = false;
    static constexpr bool isPlain = false;

    static constexpr std::size_t maxEnd(std::size_t at) {
        return Rule<Count>::maxEnd(at) + sizedStringLength + 1;
    }
    static std::size_t end(std::size_t at, const std::string& value) {
        return Rule<Count>::maxEnd(at) + value.size() + 1;
    }

    template <Order order>
    static std::size_t store(char* base, std::size_t at, const std::string& value) {
        const std::size_t size = value.size() + 1;
        at = Rule<Count>::store<order>(base, at, static_cast<Count>(size));
        std::memcpy(base + at, value.c_str(), size);
        return at + size;
    }

    /** Tolerates what other writers send: a length of 0 is an empty string, a last character other
     *  than NUL belongs to the text, and so does a NUL in front of it. */
    template <Order order, class Source>
    static void read(Input<Source>& in, std::string& value) {
        in.rewinding([&] {
            const Count size = in.template readCount<order>();
            const char* text = in.takeAligned(size, 1);
            const bool terminated = size > 0 && text[size - 1] == '\0';
            value.assign(text, terminated ? size - 1 : size);
        });
    }
};

template <class E>
struct Rule<std::vector<E>> {
    static_assert(!std::is_same_v<E, bool>, "std::vector<bool> has no elements to refer to");

    static constexpr std::size_t alignment = std::max(Rule<Count>::alignment, Rule<E>::alignment);
    static constexpr std::size_t first = sizeof(Count);
    static constexpr std::size_t minSize = sizeof(Count);
    static constexpr bool isFixed = false;
    static constexpr bool isPlain = false;

    static constexpr std::size_t maxEnd(std::size_t at) {
        at = Rule<Count>::maxEnd(at);
        for (std::size_t i = 0; i < sizedSequenceCount; ++i) {
            at = Rule<E>::maxEnd(at);
        }
        return at;
    }

    static std::size_t end(std::size_t at, const std::vector<E>& value) {
        at = Rule<Count>::maxEnd(at);
        if constexpr (Primitive<E>) {
            return value.empty() ? at : alignUp(at, sizeof(E)) + value.size() * sizeof(E);
        } else {
            for (const E& element : value) {
                at = Rule<E>::end(at, element);
            }
            return at;
        }
    }

    template <Order order>
    static std::size_t store(char* base, std::size_t at, const std::vector<E>& value) {
        at = Rule<Count>::store<order>(base, at, static_cast<Count>(value.size()));
        if (value.empty()) {
            return at;
        }
        if constexpr (isBlock<E, order>) {
            at = storePadding(base, at, alignof(Unsigned<sizeof(E)>));
            std::memcpy(base + at, value.data(), value.size() * sizeof(E));
            return at + value.size() * sizeof(E);
        } else {
            for (const E& element : value) {
                at = Rule<E>::template store<order>(base, at, element);
            }
            return at;
        }
    }

    template <Order order, class Source>
    static void read(Input<Source>& in, std::vector<E>& value) {
        in.rewinding([&] { readElements<order>(in, in.template readCount<order>(), value); });
    }

private:
    template <Order order, class Source>
    static void readElements(Input<Source>& in, Count count, std::vector<E>& value) {
        if (count == 0) {
            value.clear();
        } else if constexpr (isBlock<E, order> && sizeof(E) == 1) {
            const auto* bytes = reinterpret_cast<const E*>(in.takeAligned(count, 1));
            value.assign(bytes, bytes + count);
        } else if constexpr (isBlock<E, order>) {
            const char* bytes = in.takeAligned(count * sizeof(E), sizeof(E));
            value.resize(count);
            std::memcpy(value.data(), bytes, count * sizeof(E));
        } else {
            in.require(count * Rule<E>::minSize);
            value.resize(count);
            for (E& element : value) {
                in.template read<order>(element);
            }
        }
    }
};

template <Structure T>
struct Rule<T> {
    using Fields = decltype(std::declval<T&>().cdrFields());

    template <std::size_t i>
    using FieldRule = Rule<std::remove_reference_t<std::tuple_element_t<i, Fields>>>;

    static constexpr std::size_t count = std::tuple_size_v<Fields>;
    static_assert(count > 0);

private:
    /** Calls `step` with each index of [from, to) as a constant, in order. */
    template <std::size_t from, std::size_t to, class Step>
    static constexpr void eachIndex(Step step) {
        [&]<std::size_t... i>(std::index_sequence<i...>) {
            (step(std::integral_constant<std::size_t, from + i>()), ...);
        }
        (std::make_index_sequence<to - from>());
    }

    /** The outcome of `combine(so far, rule of the field)` over all fields. */
    template <class Value, class Combine>
    static constexpr Value fold(Value value, Combine combine) {
        eachIndex<0, count>([&](auto i) { value = combine(value, FieldRule<i>()); });
        return value;
    }

public:
    static constexpr std::size_t alignment = fold(std::size_t{1}, [](std::size_t sum, auto rule) {
        return std::max(sum, decltype(rule)::alignment);
    });
    static constexpr std::size_t first = FieldRule<0>::first;
    static constexpr std::size_t minSize = fold(
        std::size_t{0}, [](std::size_t sum, auto rule) { return sum + decltype(rule)::minSize; });
    static constexpr bool isFixed =
        fold(true, [](bool sum, auto rule) { return sum && decltype(rule)::isFixed; });
    static constexpr bool isPlain =
        fold(true, [](bool sum, auto rule) { return sum && decltype(rule)::isPlain; });

    /** The number of fixed fields in front of the first string or sequence. */
    static constexpr std::size_t head = [] {
        std::size_t fields = 0;
        bool fixed = true;
        eachIndex<0, count>([&](auto i) {
            fixed = fixed && FieldRule<i>::isFixed;
            fields += fixed ? 1U : 0U;
        });
        return fields;
    }();

    template <std::size_t from, std::size_t to>
    static constexpr std::size_t maxEndOf(std::size_t at) {
        eachIndex<from, to>([&](auto i) { at = FieldRule<i>::maxEnd(at); });
        return at;
    }
    static constexpr std::size_t maxEnd(std::size_t at) { return maxEndOf<0, count>(at); }

    template <std::size_t from, std::size_t to>
    static std::size_t endOf(std::size_t at, const T& value) {
        const auto fields = value.cdrFields();
        eachIndex<from, to>([&](auto i) { at = FieldRule<i>::end(at, std::get<i>(fields)); });
        return at;
    }
    static std::size_t end(std::size_t at, const T& value) { return endOf<0, count>(at, value); }

    template <Order order, std::size_t from = 0, std::size_t to = count>
    static std::size_t store(char* base, std::size_t at, const T& value) {
        const auto fields = value.cdrFields();
        eachIndex<from, to>([&](auto i) {
            at = FieldRule<i>::template store<order>(base, at, std::get<i>(fields));
        });
        return at;
    }

    template <Order order, std::size_t from = 0, std::size_t to = count>
    static std::size_t load(const char* base, std::size_t at, T& value) {
        const auto fields = value.cdrFields();
        eachIndex<from, to>([&](auto i) {
            at = FieldRule<i>::template load<order>(base, at, std::get<i>(fields));
        });
        return at;
    }

    template <Order order, std::size_t from = 0, class Source>
    static void read(Input<Source>& in, T& value) {
        const auto fields = value.cdrFields();
        eachIndex<from, count>([&](auto i) { in.template read<order>(std::get<i>(fields)); });
    }
};

/** Reads `value` from the `size` bytes behind an encapsulation header: all fixed fields at its head
 *  at once. Throws NotEnoughMemoryException when bytes are missing, BadParamException for a bool
 *  other than 0 or 1; `value` may then hold some of the new fields. */
template <Order order, Structure T>
void read(const char* bytes, std::size_t size, T& value) {
    using R = Rule<T>;
    constexpr std::size_t end = R::template maxEndOf<0, R::head>(0);
    Input in(MemorySource(bytes, size), 0);
    R::template load<order, 0, R::head>(in.takeAligned(end, 1), 0, value);
    R::template read<order, R::head>(in, value);
}

}  // namespace aspn2_msgs::cdr
