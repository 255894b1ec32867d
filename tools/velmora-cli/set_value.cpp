#include "set_value.h"

#include "platform/clock.h"
#include "platform/vb_text.h"
#include "settings/date_time_text.h"
#include "tablet_line.h"

#include <QRegularExpression>
#include <algorithm>

namespace cli {

namespace {

// The value entry dialog's own words for a blank value and for a password that is not a number.
constexpr const char* kNoValue = "Please enter a value to upload, or choose Cancel to exit.";
constexpr const char* kNotNumeric = "Please enter a numeric value to upload, or choose Cancel to exit.";

[[noreturn]] void Refuse(const TextRules& rules, const QString& value, const std::string& why) {
    throw LineFailure(kUsage, std::string(rules.what) + " '" + value.toStdString() + "': " + why);
}

} // namespace

std::string CheckedTextValue(const QString& value, const TextRules& rules) {
    const std::string bytes = vb::Trim(vb::FromQString(value));
    // A character outside the code page would go out as '?': refuse it rather than send something else.
    if (vb::ToQString(vb::FromQString(value)) != value)
        Refuse(rules, value, "holds a character the tablet's code page (Windows-1252) does not have");
    if (bytes.empty()) Refuse(rules, value, kNoValue);
    // The dialog's box is one line: no control character can be typed into it.
    if (std::any_of(bytes.begin(), bytes.end(), [](char c) { return (unsigned char)c < 0x20 || c == 0x7F; }))
        Refuse(rules, value, "holds a control character");
    if (int(bytes.size()) > rules.maxLength)
        Refuse(rules, value, "is longer than " + std::to_string(rules.maxLength) + " characters");
    if (rules.digitsOnly &&
        !std::all_of(bytes.begin(), bytes.end(), [](char c) { return c >= '0' && c <= '9'; }))
        Refuse(rules, value, kNotNumeric);
    return bytes;
}

std::string ClockText(const std::optional<QString>& time) {
    if (!time) return settings::DateTimeText();
    // A local date and time to the minute, seconds allowed; no time zone, as the tablet's clock has none.
    static const QRegularExpression form(QStringLiteral(R"(^\d{4}-\d{2}-\d{2}T\d{2}:\d{2}(:\d{2})?$)"));
    const QDateTime given = QDateTime::fromString(*time, Qt::ISODate);
    if (!form.match(*time).hasMatch() || !given.isValid())
        throw LineFailure(kUsage,
                          "'" + time->toStdString() +
                              "' is not a date and time such as 2026-11-23T18:05 (ISO 8601, local time)");
    // The console's stamp reads the clock field by field; here every reading gives the time asked for.
    vb::SetClock([given] { return given; });
    const std::string text = settings::DateTimeText();
    vb::SetClock({});
    return text;
}

} // namespace cli
