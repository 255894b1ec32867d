// A ports folder of the test's own: COM<n> links made by emulated tablets, named by VELMORA_PORTS while
// the folder lives, so no test ever opens a device outside it.
#pragma once

#include <QString>
#include <QTemporaryDir>
#include <string>

namespace testing_support {

class PortsFolder {
public:
    PortsFolder();
    ~PortsFolder();
    std::string path() const { return dir.path().toStdString(); }
    // The path of COM<n> in this folder.
    std::string port(int n) const;

private:
    QTemporaryDir dir;
    QByteArray previous;
};

} // namespace testing_support
