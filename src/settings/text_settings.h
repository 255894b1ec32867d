// The tablet's three text settings, company name, main menu title and password, as one behaviour with
// the members' differences as data: ask for the value with the value entry dialog, then handshake, send
// the command byte, send the value and CR, each echoed by the tablet.
//
// The members differ in the item asked for, the command byte, the messages, and in deliberate details
// of their waits: the menu title gives up its handshake after 200 ticks instead of 500, and the password
// gathers the command byte's echo with all 1000 polls but stops at the first reply to its value, the
// reverse of the other two.
#pragma once

#include "console/command_exchange.h"

namespace settings {

struct TextSetting {
    const char* item; // what the value entry dialog asks for
    char commandByte;
    console::Polls commandPolls;
    console::Polls valuePolls;
    int handshakeTicks;
    const char* successText;
    const char* cancelText; // titled "Event Canceled"
};

inline constexpr TextSetting kCompanyName{.item = "Company Name",
                                          .commandByte = 0x03,
                                          .commandPolls = console::Polls::StopAtFirstReply,
                                          .valuePolls = console::Polls::All,
                                          .handshakeTicks = 500,
                                          .successText = "Company Name successfully updated",
                                          .cancelText = "Company Name Entry Canceled!"};
inline constexpr TextSetting kMainMenuTitle{.item = "Main Menu Title",
                                            .commandByte = 0x09,
                                            .commandPolls = console::Polls::StopAtFirstReply,
                                            .valuePolls = console::Polls::All,
                                            .handshakeTicks = 200,
                                            .successText = "Main Menu Title successfully updated",
                                            .cancelText = "Main Menu Title Entry Canceled!"};
inline constexpr TextSetting kPassword{.item = "Password",
                                       .commandByte = 0x10,
                                       .commandPolls = console::Polls::All,
                                       .valuePolls = console::Polls::StopAtFirstReply,
                                       .handshakeTicks = 500,
                                       .successText = "Password successfully updated",
                                       .cancelText = "Password Entry Canceled!"};

} // namespace settings
