#include "base/ordered_dictionary.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kestrix {

TEST(OrderedDictionary, KeepsTheOrderOfFirstInsertion) {
    OrderedDictionary<std::string, int> dictionary;
    dictionary.set("b", 1);
    dictionary.set("a", 2);
    dictionary.set("c", 3);
    int* kept = dictionary.find("c");
    dictionary.set("b", 4);
    EXPECT_TRUE(dictionary.erase("a"));
    EXPECT_FALSE(dictionary.erase("a"));
    dictionary.set("a", 5);

    const std::vector<std::pair<const std::string, int>> entries(dictionary.begin(), dictionary.end());
    EXPECT_EQ(entries, (std::vector<std::pair<const std::string, int>>{{"b", 4}, {"c", 3}, {"a", 5}}));
    EXPECT_EQ(dictionary.find("c"), kept);
    EXPECT_EQ(dictionary.find("d"), nullptr);
}

}  // namespace kestrix
