// The values velmora-cli set sends, checked before the port is opened: a text setting as the console's
// value entry dialog would take it, and the clock as the console's date and time text.
#pragma once

#include <QString>
#include <optional>
#include <string>

namespace cli {

// A text setting's rules: the dialog's length limit, and whether only digits are taken.
struct TextRules {
    const char* what; // "company name": how messages name the value
    int maxLength;
    bool digitsOnly;
};

// The value as the tablet gets it: blanks trimmed as the dialog trims them, in the tablet's single-byte
// code page. Throws LineFailure(kUsage) for a value the console would not send: blank, too long, not
// digits where digits are asked for, a control character, or a character the code page lacks.
std::string CheckedTextValue(const QString& value, const TextRules& rules);

// The date and time text ("11/23/26/18:5") of `time`, an ISO 8601 local date and time to the minute or
// second ("2026-11-23T18:05"); without it, of the computer's clock now. A malformed time throws
// LineFailure(kUsage).
std::string ClockText(const std::optional<QString>& time);

} // namespace cli
