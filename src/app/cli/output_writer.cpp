#include "app/cli/output_writer.h"

#include <charconv>
#include <cstring>

namespace kestrix::cli {

OutputWriter::OutputWriter()
    : sink_([](std::string_view bytes, int* errorNumber) {
          return writeTo(StandardStream::output, bytes, errorNumber);
      }),
      closesStream_(true) {}

OutputWriter::OutputWriter(Sink sink) : sink_(std::move(sink)), closesStream_(false) {}

void OutputWriter::append(std::string_view bytes) {
    if (bytes.size() > kCapacity - filled_) {
        flush();
        if (bytes.size() > kCapacity) return write(bytes);
    }
    std::memcpy(buffer_.get() + filled_, bytes.data(), bytes.size());
    filled_ += bytes.size();
}

void OutputWriter::append(char byte) {
    if (filled_ == kCapacity) flush();
    buffer_[filled_++] = byte;
}

void OutputWriter::appendNumber(std::uint64_t number) {
    char digits[20];
    append(std::string_view(digits, std::to_chars(digits, digits + sizeof digits, number).ptr));
}

void OutputWriter::flush() {
    if (filled_ > 0) write(std::string_view(buffer_.get(), filled_));
    filled_ = 0;
}

void OutputWriter::write(std::string_view bytes) {
    if (isOpen()) outcome_ = sink_(bytes, &errorNumber_);
}

void OutputWriter::finish() {
    flush();
    if (isOpen() && closesStream_) outcome_ = closeStream(StandardStream::output, &errorNumber_);
}

}  // namespace kestrix::cli
