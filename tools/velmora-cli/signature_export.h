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
    long records = 0;          // records whose three files were written
    long withoutSignature = 0; // of those, records without a signature (blank pictures, no traces)
};

// Writes <number>.png, <number>.svg and <number>.inkml into `folder` (a file-system name, existing) for
// every record, its signature decoded as the viewer's display decodes it. A record whose bytes draw no
// stroke has no signature: its pictures are blank, as the viewer's box is, and its InkML holds no trace.
// The number has three digits or more ("007"). A file that cannot be written throws
// LineFailure(kFailure) naming it.
SignatureExport ExportSignatures(const RecordFile& file, const std::string& folder, QSize size);

int RunSignatures(const QStringList& arguments);

} // namespace cli
