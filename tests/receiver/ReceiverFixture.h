/** Frames as the receiver sends them, built and spoiled byte by byte. */
#pragma once

#include <cstring>
#include <string>
#include <vector>

#include "receiver/GssipMessage.h"
#include "receiver/gps_msgs.h"
#include "support/Captured.h"

namespace receiver_test {

using Bytes = std::vector<unsigned char>;
using Words = std::vector<unsigned short>;

template <typename T>
Bytes bytesOf(const T& object) {
    const auto* first = reinterpret_cast<unsigned char const*>(&object);
    return {first, first + sizeof object};
}

inline Words wordsOf(void const* bytes, std::size_t length) {
    Words words(length / 2);
    std::memcpy(words.data(), bytes, 2 * words.size());
    return words;
}

/** A frame with a good header and `words` data words, every data byte `fill`. It stands at an odd
 *  address, as a frame from a queue may. */
class Frame {
public:
    Frame(unsigned short id, unsigned short words, unsigned char fill = 0)
        : m_bytes(1 + gssip::frameBytes(words), fill) {
        unsigned short header[5];
        MakeHeader(header, id, words);
        std::memcpy(m_bytes.data() + 1, header, sizeof header);
    }

    /** Writes at byte `offset` of the data. */
    Frame& put(std::size_t offset, const Bytes& bytes) {
        std::memcpy(m_bytes.data() + 11 + offset, bytes.data(), bytes.size());
        return *this;
    }

    unsigned char const* bytes() const { return m_bytes.data() + 1; }
    unsigned size() const { return static_cast<unsigned>(m_bytes.size() - 1); }
    Bytes copy() const { return {m_bytes.begin() + 1, m_bytes.end()}; }

private:
    Bytes m_bytes;
};

/** Keeps what messages write. */
struct Sink : IWriteByteStreams {
    int WriteBytes(void const* bytes, unsigned int length) override {
        frames.push_back(wordsOf(bytes, length));
        return 0;
    }
    std::vector<Words> frames;
};

}  // namespace receiver_test
