#include "batch/job_message.h"

#include <cstring>
#include <type_traits>

namespace kowen::cli {
namespace {

// Writes values behind each other.
class Packer {
public:
    template <typename T> void operator()(const T &value) {
        static_assert(std::is_trivially_copyable_v<T>);
        bytes.append(reinterpret_cast<const char *>(&value), sizeof value);
    }
    void operator()(const std::string &text) {
        (*this)(text.size());
        bytes += text;
    }
    void operator()(const std::vector<std::string> &texts) {
        (*this)(texts.size());
        for (const std::string &text : texts)
            (*this)(text);
    }

    std::string bytes;
};

// Reads them back.
class Unpacker {
public:
    explicit Unpacker(const std::string &packed) : bytes(packed) {}

    template <typename T> void operator()(T &value) {
        static_assert(std::is_trivially_copyable_v<T>);
        if (bytes.size() - at < sizeof value)
            return;
        std::memcpy(&value, bytes.data() + at, sizeof value);
        at += sizeof value;
    }
    void operator()(std::string &text) {
        size_t size = 0;
        (*this)(size);
        text = bytes.substr(at, size);
        at += text.size();
    }
    void operator()(std::vector<std::string> &texts) {
        size_t count = 0;
        (*this)(count);
        for (; count != 0 && at < bytes.size(); --count)
            (*this)(texts.emplace_back());
    }

private:
    const std::string &bytes;
    size_t at = 0;
};

template <typename Visitor, typename Report> void Visit(Visitor *visit, Report &report) {
    (*visit)(report.source);
    (*visit)(report.target);
    (*visit)(report.error);
    (*visit)(report.cancelled);
    (*visit)(report.begun);
    (*visit)(report.paler);
    (*visit)(report.bytes);
    (*visit)(report.width);
    (*visit)(report.height);
    (*visit)(report.xDpi);
    (*visit)(report.yDpi);
    (*visit)(report.grey);
    (*visit)(report.progressive);
    (*visit)(report.quality);
    (*visit)(report.clippedPercent);
    (*visit)(report.notes);
    (*visit)(report.milliseconds);
}

} // namespace

std::string PackReport(const JobReport &report) {
    Packer packer;
    Visit(&packer, report);
    return packer.bytes;
}

JobReport UnpackReport(const std::string &bytes) {
    JobReport report;
    Unpacker unpacker(bytes);
    Visit(&unpacker, report);
    return report;
}

std::string PackMessage(const JobMessage &message) {
    Packer packer;
    packer(message.kind);
    packer(message.fraction);
    packer(message.report);
    Packer framed;
    framed(packer.bytes);
    return framed.bytes;
}

bool TakeMessage(std::string *bytes, JobMessage *message) {
    size_t size = 0;
    if (bytes->size() < sizeof size)
        return false;
    std::memcpy(&size, bytes->data(), sizeof size);
    if (bytes->size() - sizeof size < size)
        return false;
    const std::string body = bytes->substr(sizeof size, size);
    bytes->erase(0, sizeof size + size);
    Unpacker unpacker(body);
    unpacker(message->kind);
    unpacker(message->fraction);
    unpacker(message->report);
    return true;
}

} // namespace kowen::cli
