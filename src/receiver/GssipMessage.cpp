#include "receiver/GssipMessage.h"

#include <algorithm>
#include <cstring>

#include "receiver/gps_msgs.h"

using namespace gssip;

void GssipMessage::adopt(std::size_t dataWords, unsigned short id, unsigned short flags) {
    m_contents = m_frame + kHeaderWords;
    m_capacity = m_wdcnt = static_cast<std::uint32_t>(dataWords);
    m_msgId = id;
    m_frame[kSyncIndex] = kSyncWord;
    m_frame[kIdIndex] = id;
    m_frame[kCountIndex] = static_cast<unsigned short>(dataWords);
    m_frame[kFlagIndex] = flags;
}

bool GssipMessage::OkSetContent(unsigned char const* bytes, unsigned short length) {
    return takeFrame(bytes, length);
}

bool GssipMessage::takeFrame(unsigned char const* bytes, std::size_t length) {
    if (bytes == nullptr || m_frame == nullptr || length < kMinDataFrameBytes ||
        dataWordsOf(length) != m_wdcnt) {
        return false;
    }
    std::memcpy(m_frame, bytes, length - length % 2);
    return true;
}

unsigned short GssipMessage::checksumOfContents() const {
    if (m_contents == nullptr || m_wdcnt == 0) {
        return 0;
    }
    return CalculateChecksum(m_contents, 0, m_wdcnt - 1);
}

unsigned short GssipMessage::checksumOfHeader() const {
    return m_frame == nullptr ? 0 : CalculateChecksum(m_frame, 0, kHeaderChecksumIndex);
}

unsigned short GssipMessage::calculateHeaderChecksum() const {
    return m_frame == nullptr ? 0 : CalculateChecksum(m_frame, 0, kHeaderChecksumIndex - 1);
}

void GssipMessage::setHeaderChecksum() {
    if (m_frame != nullptr) {
        m_frame[kHeaderChecksumIndex] = calculateHeaderChecksum();
    }
}

void GssipMessage::insert_checksum() {
    if (m_frame == nullptr || m_frame[kCountIndex] != m_wdcnt) {
        return;
    }
    setHeaderChecksum();
    m_headerChecksumSet = true;
    if (m_wdcnt == 0) {
        return;
    }
    m_contents[m_wdcnt] = checksumOfContents();
    m_contentsChecksumSet = true;
}

void GssipMessage::clearContents() {
    if (m_contents != nullptr) {
        std::fill_n(m_contents, m_wdcnt, static_cast<unsigned short>(0));
    }
}

void GssipMessage::set_gpsip_wdcnt(unsigned short n) {
    if (m_frame != nullptr) {
        if (n > m_capacity) {
            return;
        }
        m_frame[kCountIndex] = n;
    }
    m_wdcnt = n;
}

void GssipMessage::WriteMessage(IWriteByteStreams* sink) {
    if (sink == nullptr || m_frame == nullptr) {
        return;
    }
    // Flags of an earlier write say nothing about the frame as it is now.
    m_headerChecksumSet = m_contentsChecksumSet = false;
    insert_checksum();
    if (!m_headerChecksumSet || (m_wdcnt != 0 && !m_contentsChecksumSet)) {
        return;
    }
    debugPrintMessage();
    sink->WriteBytes(m_frame, static_cast<unsigned>(frameBytes(m_wdcnt)));
}
