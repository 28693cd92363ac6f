/** The facts of a GSSIP frame, which every reader and writer of frames derives from.
 *
 *  A frame is a run of 16-bit words, least significant byte first: five header words, n data words
 *  and, when n is not 0, a data checksum. Each checksum makes the words it closes add up to 0
 *  modulo 65536. The words in memory are those of the wire, so the host has to be little-endian.
 */
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

namespace gssip {

static_assert(std::endian::native == std::endian::little);

inline constexpr std::uint16_t kSyncWord = 0x81FF;

/** Header words by index. */
inline constexpr std::size_t kSyncIndex = 0;
inline constexpr std::size_t kIdIndex = 1;
inline constexpr std::size_t kCountIndex = 2;
inline constexpr std::size_t kFlagIndex = 3;
inline constexpr std::size_t kHeaderChecksumIndex = 4;
inline constexpr std::size_t kHeaderWords = 5;

inline constexpr std::uint16_t kPlainFlags = 0x8000;
inline constexpr std::uint16_t kTypedFlags = 0x9000;
inline constexpr std::uint16_t kAckFlags = 0x8800;
inline constexpr std::uint16_t kNakFlags = 0x8400;

/** Most data words of a frame whose checksums are filled in, and of one whose checksums are
 *  verified. */
inline constexpr std::uint16_t kMaxCountToChecksum = 32500;
inline constexpr std::uint16_t kMaxCountToVerify = 106;

/** Length [bytes] of a frame of `dataWords` data words. */
constexpr std::size_t frameBytes(std::size_t dataWords) {
    return 2 * (kHeaderWords + (dataWords == 0 ? 0 : dataWords + 1));
}

/** The smallest frame that has a data checksum, were its word count 0 [bytes]. */
inline constexpr std::size_t kMinDataFrameBytes = 12;

/** Word count of a frame of `bytes` bytes; a last odd byte doesn't count. `bytes` is at least
 *  `kMinDataFrameBytes`. */
constexpr std::size_t dataWordsOf(std::size_t bytes) {
    return (bytes - kMinDataFrameBytes) / 2;
}

/** Word `index` of a frame, which may stand at any address. */
constexpr std::uint16_t wordAt(const unsigned char* frame, std::size_t index) {
    return static_cast<std::uint16_t>(frame[2 * index] | frame[2 * index + 1] << 8);
}

/** The data of a message of `kCount` words, before anything is known of its fields. */
template <std::size_t kCount>
struct DataWords {
    std::uint16_t words[kCount];

    unsigned char* bytes() { return reinterpret_cast<unsigned char*>(words); }
    unsigned char const* bytes() const { return reinterpret_cast<unsigned char const*>(words); }
};

}  // namespace gssip

/** A whole frame in memory. `Packed` is a `gssip::DataWords`. */
template <typename Packed>
struct GssipFrame {
    std::uint16_t header[gssip::kHeaderWords];
    Packed data;
    std::uint16_t dataChecksum;

    static constexpr std::size_t kDataWords = sizeof(Packed) / 2;
};
