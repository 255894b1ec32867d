// The program's own options (--demo, --text-uploader, --help, --version) and its help and version texts.
//
// Everything else on the command line belongs to the device search, which reads it as an unattended
// download ("F,PATH"): the options are taken out of the arguments before the search sees them, and only
// an argument that is exactly one of them is taken, so every other command line (a single character,
// "0,/path", "  1, /p  ", an option the program does not know) reaches the search as it was typed.
#pragma once

#include <QString>
#include <QStringList>
#include <optional>
#include <string>

namespace app {

struct ProgramOptions {
    bool demo = false;         // --demo: an emulated tablet beside the program (demo_tablet.h)
    bool textUploader = false; // --text-uploader: the upload text editor Form1 beside the console
    bool help = false;         // --help: print the help and end
    bool version = false;      // --version: print the version and end
};

// Takes every argument that is one of the program's options out of `arguments` (the command line
// without the program's name); the others keep their order and text.
ProgramOptions TakeProgramOptions(QStringList& arguments);

// The command line the search reads: `arguments` joined by blanks, back in the local 8-bit encoding they
// came in, so that a path keeps the bytes typed ("Mü€.vlm" names the same file whatever the code page of
// the windows).
std::string CommandLineText(const QStringList& arguments);

// "velmora 0.1.0"
QString VersionText();
// The options, the unattended command line and the ports, as --help prints them. The usage line names
// the program as it was started (the application's first argument).
QString HelpText();

// --help and --version answer on standard output before any window exists, so they work with no
// display: the exit status when the command line asks for one of them (the text printed), nothing
// otherwise. `argv` is main()'s, unchanged.
std::optional<int> AnswerInformationOptions(int argc, char** argv);

} // namespace app
