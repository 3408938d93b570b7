#include "import/import_protocol.h"
#include "import/word_list.h"

#include <gtest/gtest.h>

namespace kestrix {
namespace {

const ImportRequest kRequest{.kind = ImportRequest::Kind::wordsInFile,
                             .number = 7,
                             .format = DocumentFormat::pdf,
                             .useOCR = true,
                             .maxLength = 1000,
                             .name = "a.pdf",
                             .typeIdentifier = "application/pdf"};
const ImportReply kReply{
    .kind = ImportReply::Kind::failure, .number = 7, .value = 3, .bodySize = 4, .body = "torn"};

template <typename Decode>
void expectEveryDamageRefused(const std::string& bytes, Decode decode) {
    for (std::size_t length = 0; length < bytes.size(); ++length)
        EXPECT_FALSE(decode(bytes.substr(0, length))) << length;
    EXPECT_FALSE(decode(bytes + '\0'));
    std::string otherVersion = bytes;
    otherVersion[0] = static_cast<char>(kImportProtocolVersion + 1);
    EXPECT_FALSE(decode(otherVersion));
    std::string otherKind = bytes;
    otherKind[1] = 100;
    EXPECT_FALSE(decode(otherKind));
}

TEST(ImportProtocol, MessagesComeBackAsTheyWereAndDamagedOnesNotAtAll) {
    EXPECT_EQ(decodedRequest(encoded(kRequest)), kRequest);
    EXPECT_EQ(decodedReply(encoded(kReply)), kReply);
    expectEveryDamageRefused(encoded(kRequest), decodedRequest);
    expectEveryDamageRefused(encoded(kReply), decodedReply);
}

TEST(ImportProtocol, ABodyIsAsLongAsItIsSaidToBe) {
    ImportReply reply = kReply;
    reply.bodySize = 5;
    EXPECT_FALSE(decodedReply(encoded(reply)));
    reply.bodyIsInline = false;
    EXPECT_FALSE(decodedReply(encoded(reply)));
    reply.body.clear();
    EXPECT_TRUE(decodedReply(encoded(reply)));
    reply.bodySize = kLongestBody + 1;
    EXPECT_FALSE(decodedReply(encoded(reply)));
}

TEST(ImportProtocol, WordsComeBackAsTheyWereAndDamagedOnesNotAtAll) {
    const auto listOf = [](const WordCounts& words) {
        WordCounter counter;
        for (const auto& [word, count] : words)
            counter.count(word, count);
        return counter.take().takeBytes();
    };
    const auto countsIn = [](const std::string& bytes) -> std::optional<WordCounts> {
        const auto list = WordList::fromBytes(bytes);
        return list ? std::optional(list->counts()) : std::nullopt;
    };
    const std::string bytes = listOf({{"one", 1}, {"zw\u00F6lf", 12}});
    EXPECT_EQ(countsIn(bytes), (WordCounts{{"one", 1}, {"zw\u00F6lf", 12}}));
    EXPECT_EQ(countsIn(""), WordCounts{});
    EXPECT_EQ(countsIn(bytes + bytes), (WordCounts{{"one", 2}, {"zw\u00F6lf", 24}}));
    EXPECT_FALSE(countsIn(listOf({{"one", 0}})));
    EXPECT_FALSE(countsIn(listOf({{"", 1}})));
    for (std::size_t length = 1; length < bytes.size(); ++length) {
        const auto cut = countsIn(bytes.substr(0, length));
        EXPECT_EQ(cut ? cut->size() : 1, 1U);  // a cut may fall between the two
    }
}

}  // namespace
}  // namespace kestrix
