#include "language/query_editor.h"

#include <gtest/gtest.h>

#include "tests/language/language_fixture.h"

namespace kestrix {
namespace {

class QueryEditorTest : public LanguageWorld {
  protected:
    std::string inserted(const std::string& line, const std::string& clause, bool useExample = false) {
        return QueryEditor(line, environment).insert(std::make_shared<Clause>(clause), useExample);
    }
    std::string removed(const std::string& line, const std::string& clause) {
        return QueryEditor(line, environment).remove(std::make_shared<Clause>(clause));
    }
};

TEST_F(QueryEditorTest, ClauseIsAddedInPlaceOfItsLike) {
    EXPECT_EQ(inserted(" cat ", "is image"), "cat : is image");
    EXPECT_EQ(inserted("", "is image"), ": is image");
    EXPECT_EQ(inserted("cat : is image inside x", "is text"), "cat : inside x is text");
    EXPECT_EQ(inserted("cat : inside x", "is text", true), "cat : inside x is **");
}

TEST_F(QueryEditorTest, WordsBeforeTheColonStayAsTyped) {
    EXPECT_EQ(inserted("Cat -Dog rep* : inside x", "is text"), "Cat -Dog rep* : inside x is text");
    EXPECT_EQ(inserted("a : bluh : inside x", "is text"), "a : inside x is text");
}

TEST_F(QueryEditorTest, RemovedClauseTakesTheColonWithItWhenNoneIsLeft) {
    EXPECT_EQ(removed("cat : is image inside x", "is text"), "cat : inside x");
    EXPECT_EQ(removed("cat : is image", "is text"), "cat");
    EXPECT_EQ(removed("cat : inside x", "is text"), "cat : inside x");
}

}  // namespace
}  // namespace kestrix
