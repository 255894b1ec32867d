// velmora-cli download --all DIR: a depot where many tablets dock at night. Every port, 1 to 40, is
// probed; then one worker per tablet that answered downloads it, all side by side, each into a file of
// its own in DIR named by port and date; one summary line per tablet, in port order, on standard output.
#pragma once

#include <string>

namespace cli {

struct DownloadSettings;

// 0 when every tablet's records were saved; else the exit status of the first port that failed, and
// kNotFound when no tablet answered at all.
int RunDownloadAll(const std::string& dir, const DownloadSettings& settings);

} // namespace cli
