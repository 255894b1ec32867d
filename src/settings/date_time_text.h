// The date and time as the tablet's clock command takes them: "M/D/YY/H:M", no leading zeros but those
// of the two-digit year, a slash between year and hour, no seconds ("2/15/12/9:5", "11/3/26/18:15").
// Each field is a fresh reading of the computer's clock, in the order year, month, day, hour, minute,
// so a stamp taken at a boundary can mix two moments.
#pragma once

#include <string>

namespace settings {

std::string DateTimeText();

// A year as the stamp shows it: the last two digits of a four-digit year, any other year whole.
std::string YearText(int year);

} // namespace settings
