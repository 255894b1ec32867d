// What the upload editor's text box Text1 holds, as bytes of the program's code page.
//
// A multi-line text box keeps its lines ended by CR LF and ends its text at the first NUL byte; it holds
// at most 65535 characters. QPlainTextEdit knows neither limit and keeps paragraphs, not line ends, so the
// box's text is converted here: CR LF (and a CR or an LF alone, which the box shows as a line end too)
// becomes a paragraph on the way in and CR LF on the way out; every other byte is one character of the
// code page (vb::ToQString / vb::FromQString).
#pragma once

#include <QString>
#include <string>
#include <string_view>

namespace upload {

inline constexpr long kTextBoxLimit = 65535;

// The part of `bytes` the box can hold: up to the first NUL, line ends as CR LF, at most 65535
// characters (a CR LF is not split at the limit).
std::string TextBoxContent(std::string_view bytes);

// The box's text to the widget, and back from the widget's raw text (QTextDocument::toRawText()).
QString ToTextBox(std::string_view boxText);
std::string FromTextBox(const QString& rawText);

} // namespace upload
