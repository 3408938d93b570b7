#include "base/uuid.h"

#include <gtest/gtest.h>

#include <unordered_set>

namespace kestrix {

TEST(Uuid, TextFormReadsBackInEitherCase) {
    const auto uuid = Uuid::parse("0123abcd-4567-89EF-fedc-BA9876543210");
    ASSERT_TRUE(uuid);
    EXPECT_EQ(uuid->text(), "0123ABCD-4567-89EF-FEDC-BA9876543210");
    EXPECT_EQ(Uuid().text(), "00000000-0000-0000-0000-000000000000");
    EXPECT_LT(Uuid(), *uuid);
}

TEST(Uuid, NothingElseIsRead) {
    for (const char* text :
         {"", "0123ABCD-4567-89EF-FEDC-BA987654321", "0123ABCD-4567-89EF-FEDC-BA98765432100",
          "0123ABCD-4567-89EF-FEDC-BA987654321G", "0123ABCD04567-89EF-FEDC-BA9876543210",
          "0123ABC--4567-89EF-FEDC-BA9876543210", "{123ABCD-4567-89EF-FEDC-BA987654321}"}) {
        EXPECT_FALSE(Uuid::parse(text)) << text;
    }
}

TEST(Uuid, FreshOnesAreRandomVersionFourAndNeverMeet) {
    std::unordered_set<Uuid> all;
    for (int i = 0; i < 20'000; ++i)
        all.insert(Uuid::make());
    EXPECT_EQ(all.size(), 20'000u);
    for (const Uuid& uuid : all) {
        const std::string text = uuid.text();
        ASSERT_EQ(text[14], '4') << text;
        ASSERT_NE(std::string("89AB").find(text[19]), std::string::npos) << text;
        ASSERT_EQ(Uuid::parse(text), uuid);
    }
}

}  // namespace kestrix
