#include "datamodel/json_writer.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdio>

#include "core/fd.h"
#include "core/log.h"
#include "core/options.h"

void JsonWriter::newMember() {
    out_.append(first_ ? "\n" : ",\n");
    out_.append(depth_, '\t');
    first_ = false;
}

void JsonWriter::key(std::string_view key, size_t column) {
    newMember();
    appendQuoted(key);
    out_.push_back(':');
    out_.append(column > key.size() ? column - key.size() : 1, ' ');
}

void JsonWriter::begin() {
    out_.push_back('{');
    depth_++;
    first_ = true;
}

void JsonWriter::beginObject(std::string_view name) {
    key(name);
    begin();
}

void JsonWriter::beginObject(std::string_view prefix, size_t number) {
    newMember();
    out_.push_back('"');
    append(prefix).append(static_cast<int64_t>(number)).append("\": ");
    begin();
}

void JsonWriter::end() {
    depth_--;
    out_.push_back('\n');
    out_.append(depth_, '\t');
    out_.push_back('}');
    first_ = false;
}

void JsonWriter::text(std::string_view name, std::string_view value, size_t column) {
    key(name, column);
    appendQuoted(value);
}

void JsonWriter::mac(std::string_view name, const MacAddr& value) {
    key(name);
    append(value);
}

void JsonWriter::number(std::string_view name, int64_t value, size_t column) {
    key(name, column);
    append(value);
}

void JsonWriter::quotedNumber(std::string_view name, int64_t value) {
    key(name);
    append("\"").append(value).append("\"");
}

void JsonWriter::boolean(std::string_view name, bool value) {
    key(name);
    append(value ? "true" : "false");
}

void JsonWriter::numbers(std::string_view name, std::span<const uint8_t> values, size_t column) {
    key(name, column);
    append("[");
    std::string_view separator;
    for (const uint8_t value : values) {
        append(separator).append(value);
        separator = ", ";
    }
    append("]");
}

JsonWriter& JsonWriter::append(int64_t number) {
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    out_.append(digits, end);
    return *this;
}

// Meant: nothing is escaped, the file holds texts as they are stored. A quote in a device's name
// makes the file invalid JSON.
JsonWriter& JsonWriter::appendQuoted(std::string_view value) {
    out_.push_back('"');
    out_.append(value);
    out_.push_back('"');
    return *this;
}

JsonWriter& JsonWriter::append(const MacAddr& mac) {
    static constexpr char kHex[] = "0123456789abcdef";
    char separator = '"';
    for (const uint8_t byte : mac.b) {
        out_.push_back(separator);
        out_.push_back(kHex[byte >> 4]);
        out_.push_back(kHex[byte & 15]);
        separator = ':';
    }
    out_.push_back('"');
    return *this;
}

void writeDataModelFile(const char* name, std::string_view text) {
    char path[64];
    snprintf(path, sizeof path, "%s/%s", getDataModelFolderOption(), name);
    LOG(4, "(file = %s)\n", path);
    // Anybody may have put something of this name into the folder: only a file of ours is written.
    const Fd file(open(path, O_WRONLY | O_CREAT | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC, 0666));
    struct stat status {};
    if (!file || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return;
    if (ftruncate(file.get(), 0) != 0) return;
    while (!text.empty()) {
        const ssize_t written = write(file.get(), text.data(), text.size());
        if (written > 0) {
            text.remove_prefix(static_cast<size_t>(written));
        } else if (written == 0 || errno != EINTR) {
            LOG(1, "failed to write %s\r\n", path);
            return;
        }
    }
}
