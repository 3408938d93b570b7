// How long and how much an import may take.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>

namespace kestrix {

using ImportProgress = std::function<void(int percent)>;

// What the application waits for.
struct ImportLimits {
    std::chrono::milliseconds silence = std::chrono::seconds(30);  // no percentage, no answer
    std::chrono::milliseconds document = std::chrono::minutes(5);  // all in all
    std::chrono::milliseconds silenceWithOCR = std::chrono::minutes(2);
    std::chrono::milliseconds documentWithOCR = std::chrono::hours(1);
    std::chrono::milliseconds cancelPatience = std::chrono::milliseconds(300);
    std::chrono::seconds idle = std::chrono::seconds(59);  // then the helper is let go
};

// What the helper program gets, whatever document it reads.
inline constexpr std::size_t kHelperMemory = std::size_t{400} << 20;  // bytes
inline constexpr std::size_t kHelperOutput = std::size_t{256} << 20;  // bytes of text in one reply
// More than one document can take: it ends what escapes all other limits.
inline constexpr std::chrono::seconds kHelperProcessorTime = std::chrono::hours(2);
// Then it is replaced between two documents, and what its libraries have leaked goes with it.
inline constexpr std::chrono::seconds kHelperLife = std::chrono::minutes(15);
// What a program for a single old document gets.
inline constexpr std::size_t kConverterMemory = std::size_t{200} << 20;
inline constexpr std::size_t kConverterOutput = std::size_t{64} << 20;
inline constexpr std::chrono::seconds kConverterProcessorTime{20};

}  // namespace kestrix
