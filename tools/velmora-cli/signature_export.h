// velmora-cli signatures FILE DIR: every record's signature as a PNG, an SVG and an InkML file.
#pragma once

#include "record_file_reader.h"

#include <QSize>
#include <QStringList>
#include <string>

namespace cli {

// The size of the pictures unless another is asked for: the viewer's signature display.
inline constexpr QSize kSignaturePictureSize(367, 180);

struct SignatureExport {
    long written = 0; // records whose signature was written
    long skipped = 0; // records without a signature
};

// Writes <number>.png, <number>.svg and <number>.inkml into `folder` (a file-system name, existing) for
// every record whose signature bytes draw at least one stroke (decoded as the viewer's display decodes
// them); the others have no signature and are skipped. The number has three digits or more ("007").
// A file that cannot be written throws LineFailure(kFailure) naming it.
SignatureExport ExportSignatures(const RecordFile& file, const std::string& folder, QSize size);

int RunSignatures(const QStringList& arguments);

} // namespace cli
