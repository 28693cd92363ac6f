/** The two ends of a queue device, each over one file descriptor. */
#pragma once

#include <sys/types.h>

#include <atomic>
#include <chrono>

/** What both ends share. A port belongs to one thread until it is open; after that its descriptor
 *  doesn't change until the port is destroyed, and transfers may come from any thread.
 *
 *  The file is opened below the device root; messages show its plain name. Opening a pipe waits
 *  until its other end exists too, and a read is for when data is known to wait. What a signal
 *  interrupts is made again.
 */
class mcsQport {
public:
    mcsQport() = default;
    virtual ~mcsQport();
    mcsQport(const mcsQport&) = delete;
    mcsQport& operator=(const mcsQport&) = delete;

    /** Opens this end. The descriptor, or -1: no file name, or a failure, which is said on standard
     *  error.
     */
    virtual int openPort() = 0;

    /** `name` is not owned and outlives its use here. */
    void set_filename(const char* name);
    const char* get_filename() const;
    bool hasSetFilename() const { return m_hasFilename; }

    bool is_file_open() const { return m_isOpen; }
    int getFileDescriptor() const { return m_descriptor; }

    /** Tries to open the file for writing: 1, or 0 with a line on standard error. -1, which counts
     *  as true, without a file name.
     */
    int can_open_file() const;

protected:
    int openPortForRead();
    int openPortForWrite();

private:
    int open(int mode, const char* direction);

    const char* m_filename = nullptr;
    bool m_isOpen = false;
    int m_descriptor = -1;
    bool m_hasFilename = false;
};

class mcsReaderPort : public mcsQport {
public:
    int openPort() override { return openPortForRead(); }

    /** At most `length` bytes into `buffer`: as read(2) answers, 0 when not open. Waits for data.
     */
    ssize_t readFromPort(void* buffer, int length);
};

class mcsWriterPort : public mcsQport {
public:
    /** How long a write waits for a queue that is full; a test may shorten it. */
    static inline std::chrono::milliseconds writeLimit = std::chrono::seconds(2);

    /** The descriptor doesn't block once it is open: it is writeToPort that waits. */
    int openPort() override;

    /** `length` bytes in one call: as write(2) answers, which may be less; 0 when not open. -1,
     *  with EAGAIN, when the queue had no room for `writeLimit`. From then on no write waits until
     *  one has found room: a reader that is gone costs its writers one wait, not one a record.
     *
     *  A device decides how much it takes of a record. A pipe in its place takes up to PIPE_BUF
     *  bytes whole or not at all; of a longer record it may be left with a part at the time-out.
     */
    ssize_t writeToPort(const void* buffer, int length);

private:
    using Deadline = std::chrono::steady_clock::time_point;

    /** False when `deadline` has passed. */
    bool waitForRoom(Deadline deadline) const;

    bool m_isPipe = false;
    std::atomic<bool> m_stalled{false};  ///< the last write timed out
};
