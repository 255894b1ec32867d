// Files for the upload tests: record data files and text files written as bytes into a temporary folder.
#pragma once

#include <QFile>
#include <QString>
#include <QTemporaryDir>
#include <algorithm>
#include <string>
#include <vector>

namespace upload_testing {

// `count` lines "L1", "L2" ... each ended by CR LF, the lines named in `empty` (1-based) left empty.
inline std::string NumberedLines(int count, const std::vector<int>& empty = {}) {
    std::string file;
    for (int i = 1; i <= count; ++i) {
        const bool isEmpty = std::find(empty.begin(), empty.end(), i) != empty.end();
        file += (isEmpty ? std::string() : "L" + std::to_string(i)) + "\r\n";
    }
    return file;
}

class TestFiles {
public:
    // Writes the bytes to `name` in the folder; returns the full path.
    QString write(const QString& name, const std::string& bytes) {
        QFile file(dir.filePath(name));
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            qWarning("cannot write %s", qPrintable(name));
        file.write(bytes.data(), qint64(bytes.size()));
        return file.fileName();
    }
    QString path(const QString& name) const { return dir.filePath(name); }
    std::string read(const QString& name) const {
        QFile file(dir.filePath(name));
        if (!file.open(QIODevice::ReadOnly)) return "<missing>";
        return file.readAll().toStdString();
    }

private:
    QTemporaryDir dir;
};

} // namespace upload_testing
