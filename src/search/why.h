// Why a search finds one path, or does not: the tests of a search, one by one.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "files/disks.h"
#include "language/query_container.h"

namespace kestrix {

struct JudgementStep {
    std::string tested;  // "no hidden folder on the way"
    bool passed = false;
    // False: told for its own sake; of words and commands between which a line offers the choice, none
    // decides alone.
    bool decides = true;
    std::string detail;  // what stood in the way, or what was found; may be empty
};

struct Judgement {
    std::vector<JudgementStep> steps;  // in the order of a search
    // All steps that decide have passed.
    bool isFound() const;
};

struct JudgementOptions {
    bool searchInsideSystemAndApps = false;
    const DiskInfoManager& disks;
};

// Judges the path as a search of the standard sources without catalogs would: by the walk of the query's
// location, the reading of a favourite folder that the line names, and the merge. Later steps are told even
// if an earlier one failed, as far as they make sense. Reads the disk like a search that needs only the
// folders on the way, and walks only for a folder that holds a starting point: whether that is shown depends
// on what lies in it. Commands are applied to the path. Any thread; never throws for what is or is not on the
// disk.
//
// `path`: absolute, without links on the way.
Judgement explainJudgement(const std::string& path, const std::shared_ptr<const QueryContainer>& query,
                           const JudgementOptions& options);

}  // namespace kestrix
