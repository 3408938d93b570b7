// Rewrites a query line when a command is put in or taken out from a menu.
#pragma once

#include <string>

#include "language/query_container.h"

namespace kestrix {

class QueryEditor {
  public:
    QueryEditor(std::string query, const QueryEnvironment& environment)
        : query_(std::move(query)), environment_(environment) {}

    // The text before the first colon, trimmed.
    std::string preCommandsQueryPortion() const;
    // The clauses joined by blanks; the one given as `example` in its example form.
    std::string commandsString(const Commands& commands, const Command* example) const;
    // The line with the command added in place of those that are template-equal to it.
    std::string insert(const std::shared_ptr<Command>& command, bool useExample) const;
    std::string remove(const std::shared_ptr<Command>& command) const;

  private:
    std::string query_;
    QueryEnvironment environment_;
};

}  // namespace kestrix
