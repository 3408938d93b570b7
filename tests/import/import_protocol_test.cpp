#include "import/import_protocol.h"

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
    const WordCounts words{{"one", 1}, {"zw\u00F6lf", 12}};
    const std::string bytes = encodedWords(words);
    EXPECT_EQ(decodedWords(bytes), words);
    EXPECT_EQ(decodedWords(""), WordCounts{});
    EXPECT_FALSE(decodedWords(bytes + bytes));
    EXPECT_FALSE(decodedWords(encodedWords({{"one", 0}})));
    EXPECT_FALSE(decodedWords(encodedWords({{"", 1}})));
    for (std::size_t length = 1; length < bytes.size(); ++length) {
        const auto cut = decodedWords(bytes.substr(0, length));
        EXPECT_EQ(cut ? cut->size() : 1, 1U);  // a cut may fall between the two
    }
}

}  // namespace
}  // namespace kestrix
