/** Joins structures to a Cdr: `write` and `read`. All fixed fields at the head of a message, for
 * most of them the whole message, cross in one call on the Cdr instead of one for each field.
 */
#pragma once

#include <fastcdr/Cdr.h>

#include <array>
#include <cstddef>
#include <cstring>

#include "aspn2_msgs/CdrRules.h"

namespace aspn2_msgs::cdr {

using eprosima::fastcdr::Cdr;

/** A Cdr as the source of an Input, provided that it lies on memory of fixed size. */
class CdrSource {
public:
    explicit CdrSource(Cdr& cdr) : m_cdr(cdr) {}

    const char* take(std::size_t size) {
        if (!m_cdr.jump(size)) {
            throwNotEnoughMemory();
        }
        return m_cdr.getCurrentPosition() - size;
    }
    void require(std::size_t size) {
        Cdr::state here(m_cdr);
        take(size);
        m_cdr.setState(here);
    }

    /** Runs `step`; when it throws, the Cdr stands again where it began, and the exception goes on
     *  to whoever reads from the Cdr. The Input is done then. */
    template <class Step>
    void rewinding(Step step) {
        Cdr::state here(m_cdr);
        try {
            step();
        } catch (...) {
            m_cdr.setState(here);
            throw;
        }
    }

private:
    Cdr& m_cdr;
};

/** The head of a structure on its way to or from a Cdr: all its fixed fields as one run of bytes.
 *
 *  A Cdr tells nobody from where it counts alignment, so a run can't just be copied to where the
 * Cdr stands. When the first primitive has the largest alignment, as in every message, it crosses
 *  by itself: the Cdr aligns it, and all that follows lies at constant distances behind it.
 */
template <Structure T>
class Head {
    using R = Rule<T>;
    using First = Unsigned<R::alignment>;
    static constexpr std::size_t fields = R::head;
    static constexpr bool isAnchored = R::first == R::alignment;

    /** Where the run begins in `m_run`; the bytes in front of it are for its padding. */
    static constexpr std::size_t start = 8;

    // A Cdr that moved one primitive takes its position as aligned for the next one of that size.
    // An array of bytes behind it ends this, and so must be in front of a tail of odd lengths.
    static_assert(R::isFixed || R::template maxEndOf<0, fields>(0) > start,
                  "what varies in size has a head of more than 8 bytes in front of it");

public:
    static constexpr bool isAll = fields == R::count;

    /** Both leave the Cdr behind the head and return the position there, modulo 8. They throw
     *  NotEnoughMemoryException, and then nothing of `value` has changed. */
    template <Order order>
    static std::size_t write(Cdr& cdr, const T& value) {
        Head head;
        if constexpr (isAnchored) {
            const std::size_t end = head.store<order>(start, value);
            First first = 0;
            std::memcpy(&first, head.m_run.data() + start, sizeof(first));
            const std::size_t before = cdr.getSerializedDataLength();
            cdr << ordered<order>(first);
            const std::size_t padding = cdr.getSerializedDataLength() - before - sizeof(first);
            if (padding > 0) {
                std::memset(cdr.getCurrentPosition() - sizeof(first) - padding, 0, padding);
            }
            head.writeRun(cdr, start + sizeof(first), end);
            return end % 8;
        } else {
            const std::size_t begin = start - paddingAhead(cdr, [&cdr] { cdr << First(0); });
            const std::size_t end = head.store<order>(begin, value);
            head.writeRun(cdr, begin, end);
            return end % 8;
        }
    }

    template <Order order>
    static std::size_t read(Cdr& cdr, T& value) {
        Head head;
        First first = 0;
        if constexpr (isAnchored) {
            constexpr std::size_t end = R::template maxEndOf<0, fields>(start);
            cdr >> first;
            first = ordered<order>(first);
            std::memcpy(head.m_run.data() + start, &first, sizeof(first));
            head.readRun(cdr, start + sizeof(first), end);
            head.load<order>(start, value);
            return end % 8;
        } else {
            const std::size_t begin = start - paddingAhead(cdr, [&] { cdr >> first; });
            const std::size_t end = R::template maxEndOf<0, fields>(begin);
            head.readRun(cdr, begin, end);
            head.load<order>(begin, value);
            return end % 8;
        }
    }

private:
    /** The padding that a primitive of the largest alignment would get here. `touch` moves the Cdr
     *  past such a primitive, which is then taken back: the head holds one, at this position or
     *  behind it, so that there is room for it whenever there is room for the head. */
    template <class Touch>
    static std::size_t paddingAhead(Cdr& cdr, Touch touch) {
        Cdr::state here(cdr);
        const std::size_t before = cdr.getSerializedDataLength();
        touch();
        const std::size_t padding = cdr.getSerializedDataLength() - before - sizeof(First);
        cdr.setState(here);
        return padding;
    }

    template <Order order>
    std::size_t store(std::size_t at, const T& value) {
        return R::template store<order, 0, fields>(m_run.data(), at, value);
    }
    template <Order order>
    void load(std::size_t at, T& value) {
        R::template load<order, 0, fields>(m_run.data(), at, value);
    }
    void writeRun(Cdr& cdr, std::size_t from, std::size_t to) {
        cdr.serializeArray(m_run.data() + from, to - from);
    }
    void readRun(Cdr& cdr, std::size_t from, std::size_t to) {
        cdr.deserializeArray(m_run.data() + from, to - from);
    }

    alignas(8) std::array<char, R::template maxEndOf<0, fields>(start) + 8> m_run;
};

template <Order order, Structure T>
void write(Cdr& cdr, const T& value) {
    using R = Rule<T>;
    const std::size_t at = Head<T>::template write<order>(cdr, value);
    if constexpr (!Head<T>::isAll) {
        const std::size_t size = R::template endOf<R::head, R::count>(at, value) - at;
        if (!cdr.jump(size)) {
            throwNotEnoughMemory();
        }
        char* const base = cdr.getCurrentPosition() - size - at;
        R::template store<order, R::head, R::count>(base, at, value);
    }
}

template <Order order, Structure T>
void read(Cdr& cdr, T& value) {
    const std::size_t at = Head<T>::template read<order>(cdr, value);
    if constexpr (!Head<T>::isAll) {
        Input in(CdrSource(cdr), at);
        Rule<T>::template read<order, Rule<T>::head>(in, value);
    }
}

/** Writes `value` in the Cdr's byte order. Throws NotEnoughMemoryException. */
template <Structure T>
void write(Cdr& cdr, const T& value) {
    if (cdr.endianness() == Cdr::DEFAULT_ENDIAN) {
        write<Order::native>(cdr, value);
    } else {
        write<Order::swapped>(cdr, value);
    }
}

/** Reads `value` in the Cdr's byte order. Throws NotEnoughMemoryException when bytes are missing
 *  (a sequence that runs past the end leaves the Cdr where that sequence began), BadParamException
 *  for a bool other than 0 or 1. `value` may then hold some of the new fields.
 */
template <Structure T>
void read(Cdr& cdr, T& value) {
    if (cdr.endianness() == Cdr::DEFAULT_ENDIAN) {
        read<Order::native>(cdr, value);
    } else {
        read<Order::swapped>(cdr, value);
    }
}

}  // namespace aspn2_msgs::cdr
