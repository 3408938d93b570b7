#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "base/text.h"

namespace kestrix {
namespace {

using namespace std::string_view_literals;

int sign(int value) {
    return (value > 0) - (value < 0);
}

TEST(TextOrder, NumbersByValueThenCaseAndAccentsOnlyForTies) {
    const std::vector<std::string> inOrder = {"",        "_x",     "file2",  "File10",  "file10", "file010b",
                                              "file100", "resume", "résumé", "resumes", "zebra",  "Zebra2"};
    auto sorted = inOrder;
    std::shuffle(sorted.begin(), sorted.end(), std::mt19937(5));
    std::sort(sorted.begin(), sorted.end(), [](const std::string& a, const std::string& b) {
        return text::collationKey(a) < text::collationKey(b);
    });
    EXPECT_EQ(sorted, inOrder);
}

TEST(TextOrder, ComparingAgreesWithKeysAndIsTotal) {
    std::vector<std::string> names;
    constexpr auto kNames =
        "a|A|a1|a01|a10|a2|é|e\u0301|e|ß|ss|\xFF|\xFE|\uFFFD|a\xE2\x82|日本|б|Б|a b|a-b|a_b|a\0|a\0b"sv;
    for (const std::string_view name : text::splitAt(kNames, '|'))
        names.emplace_back(name);
    names.push_back(std::string(70'000, 'x'));
    names.push_back(std::string(70'000, 'x') + "y");
    names.push_back(std::string(600, 'y'));
    names.push_back(std::string(300, '7'));
    for (const std::string& a : names) {
        for (const std::string& b : names) {
            const int byKeys = sign(text::collationKey(a).compare(text::collationKey(b)));
            EXPECT_EQ(sign(text::naturalCompare(a, b)), byKeys) << a.substr(0, 9) << " / " << b.substr(0, 9);
            EXPECT_EQ(byKeys == 0, a == b);
        }
    }
}

}  // namespace
}  // namespace kestrix
