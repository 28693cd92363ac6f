#pragma once

#include <cstdint>

#include "receiver/GssipFrame.h"

/** Takes the frames that messages write. */
class IWriteByteStreams {
public:
    virtual ~IWriteByteStreams() = default;

    /** Takes a copy of `length` bytes. The result is not read. */
    virtual int WriteBytes(void const* bytes, unsigned int length) = 0;
};

/** A typed receiver message: the frame in a buffer of the derived class, and what is common to all.
 *
 *  `m_wdcnt` never exceeds the buffer, so every operation stays inside it whatever it is given.
 *  Not copyable, since `m_frame` points into the object. No thread of its own and no lock: one
 *  thread at a time.
 */
class GssipMessage {
public:
    GssipMessage() = default;
    GssipMessage(const GssipMessage&) = delete;
    GssipMessage& operator=(const GssipMessage&) = delete;

    virtual ~GssipMessage() = default;

    /** Takes a whole received frame of `length` bytes. False, with the message as it was: null, or
     *  not the length of this message type. A last odd byte is let through but not copied.
     *  Checksums and id are not looked at. */
    virtual bool OkSetContent(unsigned char const* bytes, unsigned short length);

    /** Called for each message that `WriteMessage` writes. Does nothing. */
    virtual void debugPrintMessage() {}

    unsigned short msgId() const { return m_msgId; }
    unsigned wordCount() const { return m_wdcnt; }
    /** Word 0 of the frame, null in a bare `GssipMessage`. */
    unsigned short const* frame() const { return m_frame; }

    /** The value that belongs into the data checksum; 0 without data words. */
    unsigned short checksumOfContents() const;

    /** 0 for a good header. */
    unsigned short checksumOfHeader() const;

    /** The value that belongs into word 4. */
    unsigned short calculateHeaderChecksum() const;

    void setHeaderChecksum();

    /** Writes both checksums. Does nothing when word 2 isn't the word count of the message. */
    void insert_checksum();

    void clearContents();

    /** Sets the word count, in word 2 too. A count that the buffer can't hold changes nothing. */
    void set_gpsip_wdcnt(unsigned short n);

    /** Inserts the checksums and hands the frame to `sink` in one call. Writes nothing when `sink`
     *  is null or word 2 isn't the word count of the message. */
    void WriteMessage(IWriteByteStreams* sink);

protected:
    /** Makes `buffer`, zeroed, the frame of this message, and fills header words 0 to 3. */
    template <typename Packed>
    void adopt(GssipFrame<Packed>& buffer, unsigned short id, unsigned short flags) {
        static_assert(sizeof(buffer) == gssip::frameBytes(GssipFrame<Packed>::kDataWords));
        m_frame = reinterpret_cast<unsigned short*>(&buffer);
        adopt(GssipFrame<Packed>::kDataWords, id, flags);
    }

    /** Copies a received frame into the buffer if it has the length of this message type. */
    bool takeFrame(unsigned char const* bytes, std::size_t length);

    unsigned short* m_frame = nullptr;
    unsigned short* m_contents = nullptr; /**< data word 0 */
    std::uint32_t m_wdcnt = 0;
    unsigned short m_msgId = 0;
    bool m_headerChecksumSet = false;
    bool m_contentsChecksumSet = false;

private:
    void adopt(std::size_t dataWords, unsigned short id, unsigned short flags);

    std::uint32_t m_capacity = 0; /**< data words that the buffer holds */
};
