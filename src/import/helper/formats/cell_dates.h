// Which cells of an xlsx package are dates, and how they read.
#pragma once

#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "import/helper/formats/xml_stream.h"

namespace kestrix {

// A date is stored as a number; the style of its cell alone tells that it is one. Reads that from the styles.
class CellStyles : public XmlHandler {
  public:
    void startElement(std::string_view name, const std::vector<Attribute>& attributes) override;
    void endElement(std::string_view name) override;
    void characters(std::string_view) override {}

    // Whether the style of this number, as a cell states it, shows a date or a time.
    bool isDate(std::string_view style) const;

  private:
    std::unordered_set<std::string> dateFormats_;  // the package's own ones
    std::vector<bool> areDates_;                   // by style
    bool inCells_ = false;
};

// From 1900 or 1904 on, in days.
enum class DateSystem { from1900, from1904 };

// "2020-01-31", "2020-01-31 13:30", "13:30" or "13:30:05": what a cell shows depends on its style and on the
// settings of whoever looks, so it is always this. Empty if no date has the number.
std::string dateText(double number, DateSystem system);

}  // namespace kestrix
