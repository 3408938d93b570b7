// What the program prints, gathered into large writes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

#include "platform/standard_streams.h"

namespace kestrix::cli {

// One thread. Once the reader has gone or a write has failed, everything further is dropped: whoever prints
// much asks `isOpen` now and then.
class OutputWriter {
  public:
    // Where the bytes go; standard output unless a test says otherwise.
    using Sink = std::function<WriteOutcome(std::string_view bytes, int* errorNumber)>;

    OutputWriter();
    explicit OutputWriter(Sink sink);
    OutputWriter(const OutputWriter&) = delete;
    OutputWriter& operator=(const OutputWriter&) = delete;

    void append(std::string_view bytes);
    void append(char byte);
    // Decimal digits.
    void appendNumber(std::uint64_t number);

    // Writes what has gathered.
    void flush();
    bool hasGathered() const { return filled_ > 0; }

    // The end: what has gathered is written, and standard output is closed so that a late failure shows.
    void finish();

    bool isOpen() const { return outcome_ == WriteOutcome::written; }
    // readerGone is the reader's right; after `failed`, errorNumber tells why.
    WriteOutcome outcome() const { return outcome_; }
    int errorNumber() const { return errorNumber_; }

  private:
    static constexpr std::size_t kCapacity = 65536;

    void write(std::string_view bytes);

    Sink sink_;
    bool closesStream_;
    std::unique_ptr<char[]> buffer_ = std::make_unique_for_overwrite<char[]>(kCapacity);
    std::size_t filled_ = 0;
    WriteOutcome outcome_ = WriteOutcome::written;
    int errorNumber_ = 0;
};

}  // namespace kestrix::cli
