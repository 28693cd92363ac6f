#include "receiver/gps_msgs.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "receiver/GssipFrame.h"
#include "utilities/Console.h"

using namespace gssip;

namespace {

/** The words of a frame, of which only `available` are there. */
struct FrameView {
    unsigned char const* bytes;
    std::size_t available;

    std::uint16_t operator[](std::size_t index) const { return wordAt(bytes, index); }
};

std::string hex4(unsigned value) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string text;
    for (int shift = 12; shift >= 0; shift -= 4) {
        text += kDigits[value >> shift & 0xFU];
    }
    return text;
}

/** `value` in decimal, right-aligned in at least `width` places. */
std::string decimal(std::size_t value, std::size_t width) {
    const std::string digits = std::to_string(value);
    return std::string(width - std::min(width, digits.size()), ' ') + digits;
}

unsigned short sumOf(unsigned short const* words, std::size_t count) {
    unsigned sum = 0;
    for (std::size_t i = 0; i < count; ++i) {
        sum += words[i];
    }
    return static_cast<unsigned short>(sum);
}

bool complain(std::string_view fault, unsigned value, std::string_view action, unsigned id) {
    utilities::printErrorLine(fault, " (", value, ") ", action, " Msg(", id, ") ");
    return false;
}

bool complainAboutSync(unsigned short const* frame) {
    utilities::printErrorLine(
        "No delsoh checksumming Msg(", frame[kIdIndex], ") delsoh:", hex4(frame[kSyncIndex]),
        " cnt:", decimal(frame[kCountIndex], 5), " flag:", hex4(frame[kFlagIndex]),
        "  hck:", hex4(frame[kHeaderChecksumIndex]));
    return false;
}

/** The header line. Of a frame that ends within its header, the words there are. */
std::string headerLine(const FrameView& frame) {
    std::string text = "Header: ";
    for (std::size_t i = 0; i < std::min(kHeaderWords, frame.available); ++i) {
        text += ' ' + hex4(frame[i]);
    }
    if (frame.available < kHeaderWords) {
        return text + '\n';
    }
    return text + "; msgId:" + decimal(frame[kIdIndex], 5) +
           " Wdcnt:" + decimal(frame[kCountIndex], 5) + '\n';
}

std::string dataRows(const FrameView& frame, std::size_t dataWords) {
    constexpr std::size_t kRow = 10;
    std::string text;
    for (std::size_t i = 0; i < dataWords; ++i) {
        const std::size_t column = i % kRow;
        if (column == 0) {
            text += "Data:" + decimal(i, 3) + "  ";
        }
        text += hex4(frame[kHeaderWords + i]) + ' ';
        if (column == kRow / 2 - 1) {
            text += "| ";
        }
        if (column == kRow - 1 || i == dataWords - 1) {
            text += '\n';
        }
    }
    return text;
}

std::string formatFrame(const FrameView& frame) {
    std::string text = headerLine(frame);
    if (frame.available <= kHeaderWords || frame[kCountIndex] == 0) {
        return text;
    }
    const std::size_t stated = frame[kCountIndex];
    text += dataRows(frame, std::min(stated, frame.available - kHeaderWords));
    if (kHeaderWords + stated < frame.available) {
        text += "DataCks:  " + hex4(frame[kHeaderWords + stated]) + '\n';
    }
    return text;
}

}  // namespace

unsigned short CalculateChecksum(unsigned short const* words, unsigned start, unsigned end) {
    if (start > end) {
        return 0;
    }
    return static_cast<unsigned short>(-sumOf(words + start, std::size_t{end} - start + 1));
}

unsigned short MakeHdrSpecifyFlagWd(unsigned short* frame, unsigned short id, unsigned short flags,
                                    unsigned short wordCount) {
    frame[kSyncIndex] = kSyncWord;
    frame[kIdIndex] = id;
    frame[kCountIndex] = wordCount;
    frame[kFlagIndex] = flags;
    frame[kHeaderChecksumIndex] = CalculateChecksum(frame, 0, kHeaderChecksumIndex - 1);
    return frame[kHeaderChecksumIndex];
}

unsigned short MakeHeader(unsigned short* frame, unsigned short id, unsigned short wordCount) {
    return MakeHdrSpecifyFlagWd(frame, id, kPlainFlags, wordCount);
}

unsigned short MakeACK(unsigned short* frame, unsigned short id) {
    return MakeHdrSpecifyFlagWd(frame, id, kAckFlags, 0);
}

unsigned short MakeNAK(unsigned short* frame, unsigned short id) {
    return MakeHdrSpecifyFlagWd(frame, id, kNakFlags, 0);
}

bool OkChecksumGPSmessage(unsigned short* frame) {
    const unsigned count = frame[kCountIndex];
    frame[kHeaderChecksumIndex] = CalculateChecksum(frame, 0, kHeaderChecksumIndex - 1);
    if (count == 0) {
        return true;
    }
    if (count > kMaxCountToChecksum) {
        return complain("Bad wdcnt", count, "checksumming", frame[kIdIndex]);
    }
    if (frame[kSyncIndex] != kSyncWord) {
        return complainAboutSync(frame);
    }
    frame[kHeaderWords + count] = CalculateChecksum(frame + kHeaderWords, 0, count - 1);
    return true;
}

bool ChecksumsAreOkInGPSmessage(unsigned short const* frame) {
    constexpr std::string_view kAction = "verifying checksums";
    const unsigned count = frame[kCountIndex];
    if (const unsigned sum = sumOf(frame, kHeaderWords); sum != 0) {
        return complain("Bad header chksum", sum, kAction, frame[kIdIndex]);
    }
    if (count == 0) {
        return true;
    }
    if (count > kMaxCountToVerify) {
        return complain("Bad wdcnt", count, kAction, frame[kIdIndex]);
    }
    if (const unsigned sum = sumOf(frame + kHeaderWords, count + 1); sum != 0) {
        return complain("Bad data chksum", sum, kAction, frame[kIdIndex]);
    }
    return true;
}

std::string FormatMessageInHex(unsigned short const* frame) {
    const std::size_t words = frameBytes(frame[kCountIndex]) / 2;
    return formatFrame({reinterpret_cast<unsigned char const*>(frame), words});
}

std::string FormatMessageInHex(unsigned char const* frame, std::size_t bytes) {
    return formatFrame({frame, bytes / 2});
}

void PrintMessageInHex(unsigned short const* frame) {
    utilities::writeOut(FormatMessageInHex(frame));
}

void PrintMessageInHex(unsigned char const* frame, std::size_t bytes) {
    utilities::writeOut(FormatMessageInHex(frame, bytes));
}
