// A compiled pattern may be shared by threads, a matcher may not. A thread takes a matcher from a pool for
// one name and puts it back, so that there are never more than threads at work.
#include "language/commands/regex_command.h"

#include <unicode/regex.h>

#include <algorithm>
#include <any>
#include <atomic>
#include <limits>
#include <mutex>
#include <nlohmann/json.hpp>
#include <vector>

#include "base/path.h"
#include "files/search_result.h"
#include "language/typed_word.h"

namespace kestrix {
namespace {

constexpr std::int32_t kTimeLimit = 10;  // steps of the engine; about two milliseconds
constexpr int kGiveUpAfter = 1000;       // names

icu::UnicodeString unicode(std::string_view text) {
    constexpr std::size_t kLongest = std::numeric_limits<std::int32_t>::max() / 4;
    const auto size = static_cast<std::int32_t>(std::min(text.size(), kLongest));
    return icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), size));
}

std::unique_ptr<icu::RegexPattern> compiled(std::string_view pattern, std::uint32_t options) {
    UErrorCode status = U_ZERO_ERROR;
    UParseError where;
    std::unique_ptr<icu::RegexPattern> made(
        icu::RegexPattern::compile(unicode(pattern), options, where, status));
    if (U_FAILURE(status)) made.reset();
    return made;
}

}  // namespace

class RegexCommand::Matchers {
  public:
    explicit Matchers(std::string_view pattern) : pattern_(compiled(pattern, 0)) {}

    bool areThere() const { return pattern_ != nullptr; }
    int givenUp() const { return givenUp_.load(std::memory_order_relaxed); }

    bool match(std::string_view name) {
        if (givenUp() >= kGiveUpAfter) return false;
        auto matcher = take();
        if (!matcher) return false;
        const icu::UnicodeString text = unicode(name);
        matcher->reset(text);
        UErrorCode status = U_ZERO_ERROR;
        const bool isMatch = matcher->find(status);
        // Out of time, or out of room for backtracking.
        if (U_FAILURE(status)) givenUp_.fetch_add(1, std::memory_order_relaxed);
        putBack(std::move(matcher));
        return U_SUCCESS(status) && isMatch;
    }

  private:
    using Matcher = std::unique_ptr<icu::RegexMatcher>;

    Matcher take() {
        {
            const std::lock_guard guard(mutex_);
            if (!free_.empty()) {
                Matcher matcher = std::move(free_.back());
                free_.pop_back();
                return matcher;
            }
        }
        UErrorCode status = U_ZERO_ERROR;
        Matcher matcher(pattern_->matcher(status));
        if (matcher) matcher->setTimeLimit(kTimeLimit, status);
        if (U_FAILURE(status)) matcher.reset();
        return matcher;
    }

    void putBack(Matcher matcher) {
        const std::lock_guard guard(mutex_);
        free_.push_back(std::move(matcher));
    }

    std::unique_ptr<icu::RegexPattern> pattern_;
    std::mutex mutex_;
    std::vector<Matcher> free_;
    std::atomic<int> givenUp_ = 0;
};

bool isRegularExpression(std::string_view pattern) {
    return compiled(pattern, UREGEX_CASE_INSENSITIVE) != nullptr;
}

RegexCommand::RegexCommand(std::string regex)
    : regex_(std::move(regex)), matchers_(std::make_unique<Matchers>(regex_)) {}

RegexCommand::~RegexCommand() = default;

bool RegexCommand::exceededItsBound() const {
    return matchers_->givenUp() > 0;
}

std::string RegexCommand::commandToString() const {
    return "regex " + typedWord(regex_);
}

std::string RegexCommand::commandExample() const {
    return "regex **" + regex_ + "**";
}

nlohmann::json RegexCommand::explainedFields() const {
    return {{"regex", regex_}};
}

CommandApplyResult RegexCommand::commandImpApply(SearchResult& result, SearchDataSourceDelegate*,
                                                 const QueryContainer&) {
    if (!matchers_->areThere()) return CommandApplyResult::skip;
    const bool isMatch = matchers_->match(path::lastComponent(result.path));
    return isMatch ? CommandApplyResult::accept : CommandApplyResult::exclude;
}

std::shared_ptr<Command> RegexCommandFactory::create(const std::string& commandName,
                                                     const CommandArguments& args,
                                                     const CommandFlags&) const {
    const auto* const word = args.empty() ? nullptr : std::any_cast<SentenceComponent>(&args.front());
    if (commandName != "regex" || !word) return nullptr;
    return std::make_shared<RegexCommand>(word->textOriginalCase);
}

}  // namespace kestrix
