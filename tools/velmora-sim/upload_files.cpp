#include "upload_files.h"

#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <sys/stat.h>

namespace sim {

namespace {

void writeWhole(const std::string& path, const std::string& bytes) {
    const std::string partial = path + ".part";
    {
        std::ofstream out(partial, std::ios::binary | std::ios::trunc);
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        out.flush();
        if (!out) throw std::runtime_error("velmora-sim: cannot write " + partial);
    }
    if (std::rename(partial.c_str(), path.c_str()) != 0)
        throw std::runtime_error("velmora-sim: cannot write " + path);
}

} // namespace

void UploadFiles::open(const std::string& dir, const std::string& portName) {
    struct stat info {};
    if (!dir.empty() && (stat(dir.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)))
        throw std::runtime_error("velmora-sim: the upload folder " + dir + " is not a folder that exists");
    folder = dir;
    prefix = portName + "-upload-";
}

void UploadFiles::write(const Upload& upload, std::size_t number) const {
    if (folder.empty()) return;
    const std::string base = folder + "/" + prefix + std::to_string(number);
    writeWhole(base + ".raw", upload.raw);
    writeWhole(base + ".txt", recordDataFile(upload.records));
}

} // namespace sim
