#include "set_command.h"

#include "command_line_run.h"
#include "echoed_stages.h"
#include "platform/vb_text.h"
#include "set_value.h"
#include "settings/text_settings.h"
#include "tablet_search.h"

#include <QCommandLineParser>
#include <cstdio>
#include <optional>

namespace cli {

namespace {

constexpr char DC4 = 0x14; // the clock's command byte
constexpr char CR = 0x0D;

// The settings `set` knows, one row each; the text settings take their command bytes from the console's.
struct SetItem {
    const char* word; // on the command line
    char commandByte;
    TextRules rules;    // for the clock only `what` counts: its value is the date and time text
    bool clock = false; // the value is the date and time, read when the command byte has been echoed
};

const SetItem kItems[] = {
    {"company", settings::kCompanyName.commandByte, {"company name", 30, false}},
    {"title", settings::kMainMenuTitle.commandByte, {"menu title", 30, false}},
    {"password", settings::kPassword.commandByte, {"password", 10, true}},
    {"clock", DC4, {"date and time", 0, false}, true},
};

const SetItem& ItemNamed(const QString& word) {
    for (const SetItem& item : kItems)
        if (word == QLatin1String(item.word)) return item;
    throw LineFailure(kUsage,
                      "unknown setting '" + word.toStdString() + "' (company, title, password or clock)");
}

std::string Hex(char byte) {
    char text[8];
    std::snprintf(text, sizeof text, "0x%02X", static_cast<unsigned char>(byte));
    return text;
}

int Set(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        "Sets one of the tablet's settings: its company name, main menu title (30 characters each), password "
        "(up to 10 digits) or clock (the computer's local time, or TIME).");
    parser.addPositionalArgument("setting", "company, title, password or clock.",
                                 "company|title|password|clock");
    parser.addPositionalArgument("value", "The value; for clock, TIME such as 2026-11-23T18:05 (optional).",
                                 "VALUE|[TIME]");
    AddTabletOptions(parser);
    ParseCommandLine(parser, arguments, 1, 2);
    const QStringList positional = parser.positionalArguments();
    const SetItem& item = ItemNamed(positional[0]);
    std::string value;
    if (!item.clock) {
        if (positional.size() < 2)
            throw LineFailure(kUsage, std::string("no value given for the ") + item.rules.what);
        value = CheckedTextValue(positional[1], item.rules);
    } else if (positional.size() == 2) {
        value = ClockText(positional[1]); // checked before the port is touched
    }
    const TabletOptions options = ReadTabletOptions(parser);

    auto line = OpenTablet(options); // the wake-up: ENQ and its echo
    const std::string what = item.rules.what;
    SendEchoedStages(
        *line,
        {{std::string(1, item.commandByte), "the " + what + " command (" + Hex(item.commandByte) + ")"}},
        options.timeout);
    // The computer's clock is read only once the command byte has been echoed, as the console does.
    if (item.clock && positional.size() < 2) value = ClockText(std::nullopt);
    SendEchoedStages(*line, {{value + CR, "the " + what}}, options.timeout);
    std::printf("COM%d: %s set to \"%s\"\n", line->port(), what.c_str(),
                vb::ToQString(value).toLocal8Bit().constData());
    return kSuccess;
}

} // namespace

int RunSet(const QStringList& arguments) {
    return RunReportingFailure("set", [&] { return Set(arguments); });
}

} // namespace cli
