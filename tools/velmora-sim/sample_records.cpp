#include "sample_records.h"

#include "handwriting.h"
#include "sample_random.h"
#include "signature/strokes.h"

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <vector>

namespace sim {

namespace {

// The texts below are written in UTF-8 for the reader of this file; the tablet's files are
// Windows-1252, one byte a character.
std::string windows1252(std::string_view utf8) {
    std::string out;
    for (std::size_t i = 0; i < utf8.size();) {
        const auto lead = static_cast<unsigned char>(utf8[i]);
        const int extra = lead < 0x80 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
        unsigned code = extra == 0 ? lead : lead & (0x3F >> extra);
        for (int k = 1; k <= extra && i + k < utf8.size(); ++k)
            code = code << 6 | (static_cast<unsigned char>(utf8[i + k]) & 0x3F);
        i += 1 + extra;
        switch (code) {
        case 0x20AC:
            out += '\x80';
            break; // €
        case 0x2018:
            out += '\x91';
            break; // ‘
        case 0x2019:
            out += '\x92';
            break; // ’
        case 0x2013:
            out += '\x96';
            break; // –
        default:
            out += code < 0x100 ? static_cast<char>(code) : '?';
        }
    }
    return out;
}

struct Town {
    const char* city;
    const char* state;
    const char* zip;  // the first three digits
    const char* area; // telephone area code
};

const char* const kFirstNames[] = {
    "James",  "María",   "Renée",   "Jürgen",  "Chloé",    "Patricia", "Robert",   "Linda",   "Michael",
    "Zoë",    "David",   "Susan",   "Thomas",  "François", "Daniel",   "Nancy",    "Anthony", "Björn",
    "Sandra", "Kevin",   "Dolores", "Siobhán", "Raymond",  "Gloria",   "Marcus",   "Heather", "Ana",
    "Wei",    "Olumide", "Priya",   "Gustavo", "Eileen",   "Tomás",    "Margaret", "Lukas",   "Ingrid"};
const char* const kLastNames[] = {
    "O’Brien",   "Müller",    "Nguyen",   "García",       "Peña",       "Johnson",  "Whitaker",  "Kowalski",
    "Delacroix", "Hansen",    "Brennan",  "Castillo",     "Fitzgerald", "Okafor",   "Lindqvist", "Moreau",
    "Tanaka",    "Abernathy", "Sørensen", "Patel",        "Reyes",      "Holloway", "Schäfer",   "Donovan",
    "D’Angelo",  "Kowalczyk", "Brandt",   "Van der Berg", "McAllister", "Iverson",  "Campbell",  "Roussel"};
const char* const kStreets[] = {"Maple Ave",    "Old Mill Rd",  "Harbor View Dr",   "W 14th St",
                                "Kingsbury Ln", "Route 9",      "Cedar Crest Blvd", "Pine Hollow Ct",
                                "Lakeshore Dr", "Elm St",       "Industrial Pkwy",  "Río Vista Way",
                                "N Main St",    "Commerce Cir", "Orchard Rd",       "Willow Bend",
                                "County Rd 12", "Beaumont Pl",  "Foxglove Ter",     "S Division St"};
const char* const kUnits[] = {"Apt 4B",  "Suite 210", "Unit 12",       "Bldg C",   "PO Box 118",
                              "Floor 3", "Dock 7",    "Rear entrance", "Apt 1102", "Suite 5-A"};
const Town kTowns[] = {{"Springfield", "IL", "627", "217"}, {"Dayton", "OH", "454", "937"},
                       {"Bangor", "ME", "044", "207"},      {"Fresno", "CA", "937", "559"},
                       {"Boise", "ID", "837", "208"},       {"Tulsa", "OK", "741", "918"},
                       {"Savannah", "GA", "314", "912"},    {"Duluth", "MN", "558", "218"},
                       {"Albany", "NY", "122", "518"},      {"Santa Fe", "NM", "875", "505"},
                       {"Eau Claire", "WI", "547", "715"},  {"Coeur d’Alene", "ID", "838", "208"},
                       {"Provo", "UT", "846", "801"},       {"Asheville", "NC", "288", "828"},
                       {"Española", "NM", "875", "505"},    {"Burlington", "VT", "054", "802"}};
const char* const kNotes[] = {"Left at door", "Signed by neighbor", "Gate code 4471",
                              "Call ahead",   "Back door only",     "Dog on premises"};
const char* const kMemoStarts[] = {"Delivered 3 cartons, 1 damaged – credit requested.",
                                   "Customer’s copy left with receptionist.",
                                   "Paid in cash at delivery.",
                                   "Café order: 12 cases espresso beans.",
                                   "Replacement unit installed; old unit returned.",
                                   "Agreed price €45.00 per case.",
                                   "Short 2 cases, back-ordered.",
                                   "Pallet wrapped, count verified by customer.",
                                   "Route change: next stop moved to Tuesday.",
                                   "Invoice disputed – see office.",
                                   "Freezer temp checked at -18°C.",
                                   "Mr. Müller signed for the whole building."};
const char* const kMemoEnds[] = {"Thanks!",     "Reorder in 2 weeks.",        "Receipt emailed.",
                                 "No returns.", "Ask for María at the dock.", "Keys returned to manager."};
const char* const kCustomers[] = {"Harborview Medical Supply", "Blue Ridge Beverage Co.",
                                  "Northgate Office Systems",  "Lumière Bakery Wholesale",
                                  "Tri-County Propane",        "Schäfer & Sons Hardware",
                                  "Mountain Air Courier",      "Great Lakes Linen Service"};
const char* const kTitles[] = {"Delivery Receipts", "Route 7 Deliveries", "Service Calls", "Daily Route",
                               "Proof of Delivery", "Pickups – North",    "Weekly Drops"};

std::string digits(SampleRandom& dice, int count) {
    std::string out;
    for (int i = 0; i < count; ++i)
        out += static_cast<char>('0' + dice.below(10));
    return out;
}

std::string threeDigits(int number) {
    char text[16];
    std::snprintf(text, sizeof text, "%03d", number);
    return text;
}

// Dollars and cents with thousands separators: "1,245.60".
std::string amount(int cents) {
    std::string whole = std::to_string(cents / 100);
    for (int at = static_cast<int>(whole.size()) - 3; at > 0; at -= 3)
        whole.insert(static_cast<std::size_t>(at), ",");
    char fraction[16];
    std::snprintf(fraction, sizeof fraction, "%02d", cents % 100);
    return whole + "." + fraction;
}

// The tablet's clock as a record carries it: MMDDYYYYHHMM.
struct Moment {
    int year, month, day, minuteOfDay;

    static int daysIn(int year, int month) {
        static const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
        const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
        return month == 2 && leap ? 29 : days[month - 1];
    }
    void nextDay() {
        if (++day <= daysIn(year, month)) return;
        day = 1;
        if (++month <= 12) return;
        month = 1;
        ++year;
    }
    std::string field() const {
        char text[48];
        std::snprintf(text, sizeof text, "%02d%02d%04d%02d%02d", month, day, year, minuteOfDay / 60,
                      minuteOfDay % 60);
        return text;
    }
};

// The 112 fields of one record: the eleven named fields of the record data the tablet was loaded
// with (name to Info 4), its 99 numbered fields, and the keypad entry the customer made.
std::vector<std::string> recordFields(SampleRandom& dice) {
    std::vector<std::string> fields(kRecordFields);
    const Town& town = dice.pick(kTowns);
    // One draw per statement: the order in which the operands of + are evaluated is not fixed, and
    // the samples must not depend on the compiler.
    const std::string firstName = dice.pick(kFirstNames);
    fields[0] = firstName + " " + dice.pick(kLastNames);
    const std::string houseNumber = std::to_string(dice.between(1, 9999));
    fields[1] = houseNumber + " " + dice.pick(kStreets);
    if (dice.chance(35)) fields[2] = dice.pick(kUnits);
    fields[3] = town.city;
    fields[4] = town.state;
    fields[5] = town.zip + digits(dice, 2);
    if (dice.chance(30)) fields[5] += "-" + digits(dice, 4);
    if (dice.chance(15)) fields[6] = dice.pick(kNotes);
    if (dice.chance(80)) {
        fields[7] = dice.pick(kMemoStarts);
        if (dice.chance(40)) fields[7] += std::string(" ") + dice.pick(kMemoEnds);
    }
    fields[8] = "INV-" + digits(dice, 6);
    if (dice.chance(85)) fields[9] = std::string("(") + town.area + ") 555-01" + digits(dice, 2);
    const int cents = dice.between(1500, 250000);
    fields[10] = "$" + amount(cents);
    if (dice.chance(20)) fields[11] = "PO " + digits(dice, 5);

    // The numbered fields the route uses: quantities, item code, driver and truck; a few more now
    // and then further on.
    fields[12] = std::to_string(dice.between(1, 48));
    if (dice.chance(60)) fields[13] = std::to_string(dice.below(4));
    const char itemLetter = static_cast<char>('A' + dice.below(6));
    fields[14] = itemLetter + ("-" + digits(dice, 4));
    if (dice.chance(70)) fields[15] = digits(dice, 2);
    if (dice.chance(50)) fields[16] = "TRK " + std::to_string(dice.between(10, 99));
    for (int extra = dice.below(3); extra > 0; --extra) {
        const int field = dice.between(17, 110);
        fields[field] = digits(dice, dice.between(1, 5));
    }

    // The last field: what the customer keyed in, the amount confirmed, a yes/no, or nothing.
    switch (dice.below(4)) {
    case 0:
        fields[111] = amount(cents);
        break;
    case 1:
        fields[111] = dice.chance(80) ? "Y" : "N";
        break;
    case 2:
        fields[111] = digits(dice, 4);
        break;
    default:
        break;
    }
    for (std::string& field : fields) {
        field = windows1252(field);
        // The quote ends a field and CR LF a record: neither may be inside one.
        std::replace_if(
            field.begin(), field.end(), [](char c) { return c == '"' || c == '\r' || c == '\n'; }, ' ');
    }
    return fields;
}

} // namespace

std::string SampleVlm(int records, unsigned seed) {
    records = std::clamp(records, 1, 999);
    SampleRandom dice(seed);

    const std::string customer = windows1252(dice.pick(kCustomers));
    std::string title = windows1252(dice.pick(kTitles));
    // A reader takes at most as many title characters as the position of the second quote.
    title.resize(std::min(title.size(), customer.size() + 5));
    std::string vlm = threeDigits(records) + '"' + customer + '"' + title + "\r\n";

    Moment clock{dice.between(2009, 2025), dice.between(1, 12), dice.between(1, 28), dice.between(420, 510)};
    for (int number = 1; number <= records; ++number) {
        if (number > 1) clock.minuteOfDay += dice.between(4, 45);
        if (clock.minuteOfDay >= 18 * 60) { // the route is over: the next stop is tomorrow morning
            clock.nextDay();
            clock.minuteOfDay = dice.between(420, 510);
        }
        const std::vector<std::string> fields = recordFields(dice);
        vlm += threeDigits(number) + '"' + clock.field() + '"';
        for (const std::string& field : fields)
            vlm += field + '"';
        // The customer signs with about as many letters as the name has.
        if (number % 10 != 0)
            vlm += signature::Encode(Handwriting(dice, static_cast<int>(fields[0].size()) / 2));
        vlm += "\r\n";
    }
    return vlm;
}

} // namespace sim
