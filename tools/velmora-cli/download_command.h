// velmora-cli download FILE: one tablet's records into FILE, written whole or not at all; with --all DIR,
// every tablet found on ports 1 to 40 at once (fleet_download.h).
#pragma once

#include "record_stream.h"
#include "tablet_search.h"

#include <QStringList>
#include <string>
#include <string_view>

namespace cli {

// What a download is told on the command line.
struct DownloadSettings {
    TabletOptions line;
    StreamOptions stream;
};

int RunDownload(const QStringList& arguments);

// Writes a downloaded record file whole: a new hidden file in the target's folder, flushed and renamed
// over the target, so a failure leaves no partial file and the previous one whole. Several download
// workers may write at once; they take turns. Throws LineFailure(kFailure) naming the file.
void WriteRecordFile(const std::string& path, std::string_view stream);

// Writes the stream to "<dir>/<stem>.vlm", or "<stem>-2.vlm", "<stem>-3.vlm" ... when that name is taken:
// an earlier run's file is never replaced. Returns the path written. Throws as WriteRecordFile.
std::string WriteNewRecordFile(const std::string& dir, const std::string& stem, std::string_view stream);

// The line a download reports: "COM3 /dev/ttyUSB0 25 records 41234 bytes -> path" (the records as the
// stream's header counts them; "no record count" when it has none).
std::string DownloadSummary(int port, const std::string& device, std::string_view stream,
                            const std::string& path);

// The device behind a port's path, its links resolved ("/dev/ttyUSB0" for a COM3 link to it).
std::string ResolvedDevice(const std::string& path);

} // namespace cli
