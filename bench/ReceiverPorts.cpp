#include "bench/ReceiverPorts.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

#include "aspn2_msgs/GSSIPPubSubTypes.h"

namespace bench {
namespace {

/** As much as one read of the server takes: a larger queue would be cut inside a record. */
constexpr int pipeBytes = 0x20000;
constexpr std::size_t readBytes = 65536;
constexpr std::size_t recordOverhead = 56;
constexpr std::size_t countOffset = 48;  ///< of num_bytes, from the encapsulation header on

bool waitFor(int fd, short event, Deadline deadline) {
    pollfd polled{fd, event, 0};
    int ready = 0;
    while ((ready = ::poll(&polled, 1, pollTimeout(deadline))) == -1 && errno == EINTR) {
    }
    return ready == 1;
}

QueuePipe openPipe(const DeviceRoot& root, const char* channel) {
    const auto port = root.number(ioDevicesFile, channel, "Port");
    return QueuePipe(root.file("/dev/mcs" + std::to_string(port)));
}

/** The bytes of the first record in `bytes`; 0 while it is not all there. */
std::size_t recordLength(std::span<const std::uint8_t> bytes) {
    if (bytes.size() < recordOverhead) {
        return 0;
    }
    std::uint32_t count = 0;
    std::memcpy(&count, bytes.data() + countOffset, sizeof count);
    if (count > readBytes) {
        throw std::runtime_error("A queue record claims " + std::to_string(count) + " bytes");
    }
    return bytes.size() < recordOverhead + count ? 0 : recordOverhead + count;
}

aspn2_msgs::idl::GSSIP decode(std::span<std::uint8_t> bytes) {
    eprosima::fastrtps::rtps::SerializedPayload_t payload;
    payload.data = bytes.data();
    payload.length = payload.max_size = static_cast<std::uint32_t>(bytes.size());
    aspn2_msgs::idl::GSSIP message;
    const bool read = aspn2_msgs::idl::GSSIPPubSubType().deserialize(&payload, &message);
    payload.data = nullptr;  // stays ours
    if (!read) {
        throw std::runtime_error("A queue record can't be read");
    }
    return message;
}

void stamp(aspn2_msgs::idl::timestamp& time) {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    const auto whole = std::chrono::floor<std::chrono::seconds>(now);
    time.sec(whole.count());
    time.nsec(static_cast<std::int32_t>(std::chrono::nanoseconds(now - whole).count()));
    time.time_code(100);
}

}  // namespace

QueuePipe::QueuePipe(const std::filesystem::path& path)
    : m_fd(checked(::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC),
                   "Can't open " + path.string())) {
    // Refused to a user whose pipes hold enough already; then the pipe keeps its size.
    ::fcntl(m_fd.get(), F_SETPIPE_SZ, pipeBytes);
}

bool QueuePipe::write(std::span<const std::uint8_t> bytes, Deadline deadline) {
    while (!bytes.empty()) {
        const auto count = ::write(m_fd.get(), bytes.data(), bytes.size());
        if (count >= 0) {
            bytes = bytes.subspan(static_cast<std::size_t>(count));
        } else if (errno == EAGAIN && !waitFor(m_fd.get(), POLLOUT, deadline)) {
            return false;
        } else if (errno != EAGAIN && errno != EINTR) {
            checked(-1, "Can't write to a queue");
        }
    }
    return true;
}

Bytes QueuePipe::read(Deadline deadline) {
    Bytes bytes(readBytes);
    const auto count =
        waitFor(m_fd.get(), POLLIN, deadline) ? ::read(m_fd.get(), bytes.data(), bytes.size()) : 0;
    bytes.resize(static_cast<std::size_t>(std::max(count, decltype(count){0})));
    return bytes;
}

ReceiverPorts::ReceiverPorts(const DeviceRoot& root)
    : m_pipes{openPipe(root, "TYR_HC"), openPipe(root, "DT_OUT"), openPipe(root, "HC_TYR"),
              openPipe(root, "DT_IN")} {}

bool ReceiverPorts::send(Channel channel, std::span<const std::uint8_t> frame, Deadline deadline) {
    return sendRaw(channel, record(frame), deadline);
}

bool ReceiverPorts::sendRaw(Channel channel, std::span<const std::uint8_t> bytes,
                            Deadline deadline) {
    return pipe(channel).write(bytes, deadline);
}

Bytes ReceiverPorts::record(std::span<const std::uint8_t> frame) {
    aspn2_msgs::idl::GSSIP message;
    message.header().seq_num(m_sequence++);
    message.header().device_id(m_sourceServer << 16);
    stamp(message.header().timestamp_arrival());
    stamp(message.header().timestamp_valid());
    message.num_bytes(static_cast<std::int32_t>(frame.size()));
    message.data() = Bytes(frame.begin(), frame.end());
    eprosima::fastrtps::rtps::SerializedPayload_t payload(
        static_cast<std::uint32_t>(frame.size() + recordOverhead));
    if (!aspn2_msgs::idl::GSSIPPubSubType().serialize(&message, &payload)) {
        throw std::runtime_error("A queue record does not fit");
    }
    return {payload.data, payload.data + payload.length};
}

std::optional<aspn2_msgs::idl::GSSIP> ReceiverPorts::receive(Channel channel, Deadline deadline) {
    Bytes& waiting = m_waiting[static_cast<std::size_t>(channel)];
    try {
        while (recordLength(waiting) == 0) {
            const Bytes more = pipe(channel).read(deadline);
            if (more.empty()) {
                return std::nullopt;
            }
            waiting.insert(waiting.end(), more.begin(), more.end());
        }
        const auto length = recordLength(waiting);
        auto message = decode(std::span(waiting).first(length));
        waiting.erase(waiting.begin(), waiting.begin() + static_cast<std::ptrdiff_t>(length));
        return message;
    } catch (const std::runtime_error&) {
        waiting.clear();
        throw;
    }
}

}  // namespace bench
