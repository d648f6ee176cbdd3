// SPDX-License-Identifier: MIT
// Frames as bytes. Both ends are the same program on the same machine, so that numbers travel as
// they lie in memory; lengths are checked all the same.
#include "worker/worker_protocol.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>

#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

namespace emltext {
namespace {

constexpr std::size_t kMaxDescriptors = 2; // that travel with a job: output and input

class FrameWriter {
public:
    template <typename Number> void put(Number number) {
        append(reinterpret_cast<const char *>(&number), sizeof number);
    }
    void put(std::string_view text) {
        put(static_cast<uint32_t>(text.size()));
        append(text.data(), text.size());
    }
    void *data() { return bytes_.data(); }
    std::size_t size() const { return size_; }

private:
    void append(const char *data, std::size_t length) {
        const std::size_t fitting = std::min(length, bytes_.size() - size_);
        std::memcpy(bytes_.data() + size_, data, fitting);
        size_ += fitting;
    }

    std::array<char, kMaxFrame> bytes_;
    std::size_t size_ = 0;
};

// Reads beyond the end give zeros and make the frame invalid.
class FrameReader {
public:
    explicit FrameReader(std::string_view bytes) : rest_(bytes) {}

    template <typename Number> Number take() {
        Number number{};
        if (rest_.size() < sizeof number) {
            complete_ = false;
            return number;
        }
        std::memcpy(&number, rest_.data(), sizeof number);
        rest_.remove_prefix(sizeof number);
        return number;
    }
    std::string takeText(std::size_t longest) {
        const std::size_t length = take<uint32_t>();
        if (length > rest_.size() || length > longest) {
            complete_ = false;
            return {};
        }
        std::string text(rest_.substr(0, length));
        rest_.remove_prefix(length);
        return text;
    }
    bool isComplete() const { return complete_ && rest_.empty(); }

private:
    std::string_view rest_;
    bool complete_ = true;
};

union DescriptorSpace {
    std::array<char, CMSG_SPACE(kMaxDescriptors * sizeof(int))> bytes;
    cmsghdr alignment;
};

// A packet as the system wants it. The parts must outlive it.
msghdr packetOf(iovec &part, DescriptorSpace &space, std::size_t descriptors) {
    msghdr packet{};
    packet.msg_iov = &part;
    packet.msg_iovlen = 1;
    packet.msg_control = space.bytes.data();
    packet.msg_controllen = CMSG_SPACE(descriptors * sizeof(int));
    return packet;
}

void closeIfOpen(int &descriptor) {
    if (descriptor >= 0) {
        close(descriptor);
        descriptor = -1;
    }
}

// The descriptors that came with a packet, in their order.
std::size_t takeDescriptors(msghdr &packet, std::array<int, kMaxDescriptors> &descriptors) {
    std::size_t count = 0;
    for (cmsghdr *part = CMSG_FIRSTHDR(&packet); part != nullptr;
         part = CMSG_NXTHDR(&packet, part)) {
        if (part->cmsg_level == SOL_SOCKET && part->cmsg_type == SCM_RIGHTS) {
            const std::size_t length = part->cmsg_len - CMSG_LEN(0);
            count = std::min(length / sizeof(int), descriptors.size());
            std::memcpy(descriptors.data(), CMSG_DATA(part), count * sizeof(int));
        }
    }
    return count;
}

// Bytes, 0 at the end, -1 with errno.
ssize_t receivePacket(int socket, msghdr &packet, int flags) {
    ssize_t length = -1;
    do {
        length = recvmsg(socket, &packet, flags);
    } while (length < 0 && errno == EINTR);
    return length;
}

bool sendPacket(int socket, const msghdr &packet, int flags) {
    ssize_t length = -1;
    do {
        length = sendmsg(socket, &packet, MSG_NOSIGNAL | flags);
    } while (length < 0 && errno == EINTR);
    return length >= 0;
}

bool readJob(std::string_view frame, Job &job) {
    FrameReader reader(frame);
    job.sequence = reader.take<uint64_t>();
    job.index = reader.take<uint64_t>();
    job.offset = reader.take<uint64_t>();
    job.length = reader.take<uint64_t>();
    job.path = reader.takeText(kMaxJobPath);
    return reader.isComplete();
}

bool readReport(std::string_view frame, WorkerReport &report) {
    FrameReader reader(frame);
    report.kind = static_cast<WorkerReport::Kind>(reader.take<uint32_t>());
    report.note.attachment = reader.take<uint32_t>();
    report.note.code = reader.take<int32_t>();
    report.note.reason = reader.takeText(kMaxReason);
    report.outcome.code = reader.take<int32_t>();
    report.outcome.truncated = reader.take<uint8_t>() != 0;
    report.outcome.bytesIn = reader.take<uint64_t>();
    report.outcome.bytesOut = reader.take<uint64_t>();
    report.outcome.milliseconds = reader.take<uint64_t>();
    report.retire = reader.take<uint8_t>() != 0;
    report.peakMemory = reader.take<uint64_t>();
    return reader.isComplete() && report.kind <= WorkerReport::Kind::kResult;
}

} // namespace

bool sendJob(int socket, const Job &job, int output, int input) {
    FrameWriter writer;
    writer.put(job.sequence);
    writer.put(job.index);
    writer.put(job.offset);
    writer.put(job.length);
    writer.put(std::string_view(job.path));
    const std::array<int, kMaxDescriptors> descriptors = {output, input};
    const std::size_t count = input >= 0 ? 2 : 1;
    iovec part{writer.data(), writer.size()};
    DescriptorSpace space{};
    msghdr packet = packetOf(part, space, count);
    cmsghdr *rights = CMSG_FIRSTHDR(&packet);
    rights->cmsg_level = SOL_SOCKET;
    rights->cmsg_type = SCM_RIGHTS;
    rights->cmsg_len = CMSG_LEN(count * sizeof(int));
    std::memcpy(CMSG_DATA(rights), descriptors.data(), count * sizeof(int));
    return sendPacket(socket, packet, MSG_DONTWAIT);
}

bool receiveJob(int socket, ReceivedJob &received) {
    std::array<char, kMaxFrame> bytes;
    iovec part{bytes.data(), bytes.size()};
    DescriptorSpace space{};
    msghdr packet = packetOf(part, space, kMaxDescriptors);
    const ssize_t length = receivePacket(socket, packet, MSG_CMSG_CLOEXEC);
    std::array<int, kMaxDescriptors> descriptors = {-1, -1};
    if (length <= 0 || takeDescriptors(packet, descriptors) == 0 ||
        !readJob({bytes.data(), static_cast<std::size_t>(length)}, received.job)) {
        std::for_each(descriptors.begin(), descriptors.end(), closeIfOpen);
        return false;
    }
    received.output = descriptors[0];
    received.input = descriptors[1];
    return true;
}

void sendReport(int socket, const WorkerReport &report) {
    FrameWriter writer;
    writer.put(static_cast<uint32_t>(report.kind));
    writer.put(report.note.attachment);
    writer.put(report.note.code);
    writer.put(std::string_view(report.note.reason).substr(0, kMaxReason));
    writer.put(report.outcome.code);
    writer.put(static_cast<uint8_t>(report.outcome.truncated ? 1 : 0));
    writer.put(report.outcome.bytesIn);
    writer.put(report.outcome.bytesOut);
    writer.put(report.outcome.milliseconds);
    writer.put(static_cast<uint8_t>(report.retire ? 1 : 0));
    writer.put(report.peakMemory);
    iovec part{writer.data(), writer.size()};
    msghdr packet{};
    packet.msg_iov = &part;
    packet.msg_iovlen = 1;
    static_cast<void>(sendPacket(socket, packet, 0));
}

Received receiveReport(int socket, WorkerReport &report) {
    std::array<char, kMaxFrame> bytes;
    iovec part{bytes.data(), bytes.size()};
    msghdr packet{};
    packet.msg_iov = &part;
    packet.msg_iovlen = 1;
    const ssize_t length = receivePacket(socket, packet, MSG_DONTWAIT);
    if (length < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
        return Received::kNothing;
    }
    if (length <= 0 || !readReport({bytes.data(), static_cast<std::size_t>(length)}, report)) {
        return Received::kEnd;
    }
    return Received::kFrame;
}

} // namespace emltext
