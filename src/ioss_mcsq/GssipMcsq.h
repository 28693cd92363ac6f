/** GSSIP messages over the queue devices. */
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "aspn2_msgs/GSSIPPubSubTypes.h"
#include "face/FACE_Common.h"
#include "face/FACE_Sequence.h"
#include "ioss_mcsq/HC_MCSQ.h"
#include "utilities/Mutex.h"

/** Carries messages over named channels. The devices move bytes: a write puts one record, the CDR
 *  form of one message, on the queue; a read may bring back several, back to back with nothing
 *  between them.
 *
 *  Threads: channels are connected on one thread at a time, the constructing one as a rule. Write
 *  and IsInitialized may be called from any thread, and from within a callback. Messages that
 *  arrive are handed out on the queue service's thread, one at a time, with the service's poll
 *  mutex and this object's mutex held: a callback returns quickly, as it holds up all channels, and
 *  neither makes nor breaks connections. What it throws is reported and stops nothing.
 *
 *  Order of the locks: the service's poll mutex, m_mutex, then the service's connections mutex or
 *  m_callbacksMutex.
 */
class GssipMcsq : public FACE::IOSS::MCSQ::IO_Callback {
public:
    using Return_Code = FACE::RETURN_CODE_TYPE::Value;
    using Callback = std::function<void(const aspn2_msgs::idl::GSSIP&)>;

    /** What one read takes in at most [bytes]. */
    static constexpr std::uint32_t MAX_BLOCK = 0x20000;

    /** `name` stands in front of the messages of this object. Messages whose id is in `filter` are
     *  not written; in the last form each text is a decimal number, and one that isn't is passed
     *  over.
     */
    explicit GssipMcsq(const std::string& name);
    GssipMcsq(const std::string& name, const std::vector<unsigned short>& filter);
    GssipMcsq(const std::string& name, const std::vector<std::string>& filter);

    /** Ends all notifications and closes all channels. No Write is under way any more. */
    ~GssipMcsq() override;
    GssipMcsq(const GssipMcsq&) = delete;
    GssipMcsq& operator=(const GssipMcsq&) = delete;

    /** Opens the channel `name` of the configuration `file`; the first `file` serves all later
     *  connects too. INVALID_CONFIG: the file can't be read or doesn't tell the channel's port;
     *  NO_ACTION: the device can't be opened.
     */
    void Connect_WriteOnly(const FACE::String& file, const FACE::String& name,
                           long long& connection, Return_Code& rc);

    /** The same, and `callback` gets the messages that arrive, on the service's thread. */
    void Connect_ReadOnly(const FACE::String& file, const FACE::String& name, Callback callback,
                          Return_Code& rc);

    /** The same as Connect_WriteOnly, and `callback` gets the messages that this object writes to
     *  the channel, on the writer's thread with no lock of this object held.
     */
    void Connect_IOWrite(const FACE::String& file, const FACE::String& name, long long& connection,
                         Callback callback, Return_Code& rc);

    /** Whether the channel is open. */
    bool IsInitialized(long long connection);

    /** Writes the message as one record, then hands it to the channel's callback, written or not.
     *  Waits for a full queue, holding no lock, at most for mcsWriterPort::writeLimit.
     *
     *  `rc` is the device's answer: NO_ERROR, or NO_ACTION when not all bytes went. It stays as it
     *  was when nothing reached the device: the channel isn't open (then nothing is handed out
     *  either), the id is filtered, or `num_bytes` is not the data's length, which would cost the
     *  reader the rest of its block. Passes on what the callback throws.
     */
    void Write(long long& connection, const aspn2_msgs::idl::GSSIP& message, Return_Code& rc);

    /** Reads the connection's device once and hands its messages out. The queue service calls it,
     *  with its poll mutex held. Allocates nothing once its message has grown to the largest.
     */
    void Process_Notification_Event(long long connection,
                                    FACE::IOSS::MCSQ::NOTIFICATION_EVENT_TYPE::Value event) override
        EXCLUDES(m_mutex, m_callbacksMutex);

private:
    using SharedCallback = std::shared_ptr<const Callback>;

    void writeToQueue(long long connection, const aspn2_msgs::idl::GSSIP& message, Return_Code& rc);
    /** Null when the connection has none. */
    SharedCallback callbackOf(long long connection) EXCLUDES(m_callbacksMutex);

    void processMessage(long long connection) REQUIRES(m_mutex) EXCLUDES(m_callbacksMutex);
    /** Decodes one record into m_message: its size, or 0 when it failed, which is then reported. */
    std::size_t takeRecord(unsigned char* bytes, std::size_t remainder) REQUIRES(m_mutex);
    void handOut(const Callback& callback) REQUIRES(m_mutex) EXCLUDES(m_callbacksMutex);
    void report(int line, std::string_view what) const;

    const std::string m_name;
    const std::vector<unsigned short> m_filter;

    /** Guards the buffer and the message, for a whole notification. */
    utilities::Mutex m_mutex ACQUIRED_BEFORE(m_callbacksMutex);
    const std::unique_ptr<unsigned char[]> m_block;  ///< MAX_BLOCK bytes, likewise guarded
    FACE::IOSS::MCSQ::Read_Payload m_payload GUARDED_BY(m_mutex);  ///< works in m_block
    aspn2_msgs::idl::GSSIPPubSubType m_type GUARDED_BY(m_mutex);
    aspn2_msgs::idl::GSSIP m_message GUARDED_BY(m_mutex);

    /** Held for look-ups alone, never while a callback runs. */
    utilities::Mutex m_callbacksMutex;
    std::map<long long, SharedCallback> m_callbacks GUARDED_BY(m_callbacksMutex);

    /** Goes first: its thread uses all that stands above. */
    FACE::IOSS::HC_MCSQ m_service;
};
