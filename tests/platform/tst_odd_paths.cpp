// Paths that are not plain files: a pipe, a link to /dev/zero, a folder, a socket, and a file longer than
// 64 MiB (sparse: it takes no disk). Reading refuses each at once, without waiting and without holding
// the file, and each window that reads a file takes the way its trap gives any other error.
//
// A call that would wait for ever, or read without end, must fail the test instead of holding it: the
// file system's calls run in a child process with an alarm and a memory limit, and the windows' reads
// of a pipe run with a helper that opens the pipe's other end after a few seconds and tells that it had
// to.
#include "app/globals.h"
#include "console/console_window.h"
#include "editor/frm_korvani_upload_utility.h"
#include "platform/errors.h"
#include "platform/file_system.h"
#include "platform/vb_timer.h"
#include "upload/form1.h"
#include "viewer/form2.h"
#include "viewer/text_stream.h"

#include "support/device_command_run.h"
#include "support/error_of.h"
#include "support/modal_answerer.h"
#include "support/program.h"

#include <QDir>
#include <QFile>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <fcntl.h>
#include <functional>
#include <mutex>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace testing_support;

namespace {

constexpr int kChildSeconds = 10;

// What a call raised in the child: its number and description; number -1 when the child was stopped by
// its alarm or its memory limit.
struct Outcome {
    std::int64_t number = -1;
    QString description;
};

// Runs `call` in a child process that may take kChildSeconds and 1 GiB of memory.
Outcome InChild(const std::function<void()>& call) {
    int pipeFds[2];
    if (::pipe(pipeFds) != 0) return {};
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(pipeFds[0]);
        const rlimit memory{rlim_t(1) << 30, rlim_t(1) << 30};
        ::setrlimit(RLIMIT_AS, &memory);
        ::alarm(kChildSeconds);
        std::string report = "0\n";
        try {
            call();
        } catch (const vb::Error& error) {
            report = std::to_string(error.number) + "\n" + error.description;
        }
        if (::write(pipeFds[1], report.data(), report.size()) < 0) ::_exit(2);
        ::_exit(0);
    }
    ::close(pipeFds[1]);
    std::string report;
    char chunk[512];
    ssize_t got;
    while ((got = ::read(pipeFds[0], chunk, sizeof chunk)) > 0)
        report.append(chunk, std::size_t(got));
    ::close(pipeFds[0]);
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child || !WIFEXITED(status) || WEXITSTATUS(status) != 0)
        return {};
    const auto newline = report.find('\n');
    if (newline == std::string::npos) return {};
    return {std::stoll(report.substr(0, newline)), QString::fromStdString(report.substr(newline + 1))};
}

// Opens the other end of a pipe after a few seconds, so that a read that waits for a writer ends; it then
// tells that it had to. Nothing happens when the read did not wait.
class PipeRescuer {
public:
    explicit PipeRescuer(std::string path) : path_(std::move(path)), thread_([this] { Run(); }) {}
    ~PipeRescuer() {
        {
            std::lock_guard lock(mutex_);
            stop_ = true;
        }
        wake_.notify_all();
        thread_.join();
    }
    bool rescued() const { return rescued_; }

private:
    void Run() {
        std::unique_lock lock(mutex_);
        if (wake_.wait_for(lock, std::chrono::seconds(5), [this] { return stop_; })) return;
        // A reader waits: opening for writing without waiting succeeds now, and closing gives it end of file.
        const int fd = ::open(path_.c_str(), O_WRONLY | O_NONBLOCK);
        if (fd >= 0) {
            rescued_ = true;
            ::close(fd);
        }
    }

    std::string path_;
    std::mutex mutex_;
    std::condition_variable wake_;
    bool stop_ = false;
    std::atomic<bool> rescued_{false};
    std::thread thread_;
};

// The reading entry points, each as a call on a path.
struct Reader {
    const char* name;
    std::function<void(const std::string&)> read;
};

const std::vector<Reader>& Readers() {
    static const std::vector<Reader> readers = {
        {"whole read", [](const std::string& path) { vb::ReadAll(path); }},
        {"line input",
         [](const std::string& path) {
             vb::SequentialInput input(path);
             while (!input.Eof())
                 input.LineInput();
         }},
        {"text stream", [](const std::string& path) { viewer::TextStream stream(path); }},
    };
    return readers;
}

} // namespace

class tst_OddPaths : public QObject {
    Q_OBJECT

    QTemporaryDir dir;
    QString Path(const char* name) const { return dir.filePath(name); }
    static std::string S(const QString& path) { return QFile::encodeName(path).toStdString(); }

    // A pipe, a link to /dev/zero, a folder, a socket and a sparse file one byte over 64 MiB.
    void MakeOddPaths() {
        QVERIFY(::mkfifo(S(Path("pipe.txt")).c_str(), 0644) == 0);
        QVERIFY(QFile::link("/dev/zero", Path("zero.txt")));
        QVERIFY(QDir().mkdir(Path("folder.txt")));
        const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
        QVERIFY(socket >= 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const std::string socketPath = S(Path("socket.txt"));
        QVERIFY(socketPath.size() < sizeof address.sun_path);
        std::copy(socketPath.begin(), socketPath.end(), address.sun_path);
        QVERIFY(::bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0);
        socketFd = socket;
        for (const auto& [name, size] :
             {std::pair{"huge.txt", vb::kMaxFileBytes + 1}, std::pair{"limit.txt", vb::kMaxFileBytes}}) {
            const int fd = ::open(S(Path(name)).c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            QVERIFY(fd >= 0);
            QVERIFY(::ftruncate(fd, off_t(size)) == 0);
            ::close(fd);
        }
    }

    int socketFd = -1;

private slots:
    void initTestCase() {
        QVERIFY(dir.isValid());
        MakeOddPaths();
        qputenv("VELMORA_TICK_MS", "2");
        qputenv("HOME", dir.path().toLocal8Bit());
    }
    void cleanupTestCase() {
        if (socketFd >= 0) ::close(socketFd);
    }

    // ---- the file system's reading calls ----

    void whatIsNotARegularFileIsRefusedAt75NamingThePath_data() {
        QTest::addColumn<int>("reader");
        QTest::addColumn<QString>("name");
        for (std::size_t r = 0; r < Readers().size(); ++r)
            for (const char* name : {"pipe.txt", "zero.txt", "folder.txt", "socket.txt"})
                QTest::newRow(qPrintable(QString("%1, %2").arg(Readers()[r].name, name))) << int(r) << name;
    }
    void whatIsNotARegularFileIsRefusedAt75NamingThePath() {
        QFETCH(int, reader);
        QFETCH(QString, name);
        const std::string path = S(dir.filePath(name));
        const Outcome outcome = InChild([&] { Readers()[reader].read(path); });
        QCOMPARE(outcome.number, std::int64_t(75));
        QCOMPARE(outcome.description, "Path/File access error: " + QString::fromStdString(path));
    }

    void aFileOverSixtyFourMebibytesIsRefusedAt7NamingIt_data() {
        QTest::addColumn<int>("reader");
        for (std::size_t r = 0; r < Readers().size(); ++r)
            QTest::newRow(Readers()[r].name) << int(r);
    }
    void aFileOverSixtyFourMebibytesIsRefusedAt7NamingIt() {
        QFETCH(int, reader);
        const std::string path = S(Path("huge.txt"));
        const Outcome outcome = InChild([&] { Readers()[reader].read(path); });
        QCOMPARE(outcome.number, std::int64_t(7));
        QCOMPARE(outcome.description, "Out of memory: " + QString::fromStdString(path));
    }

    void aFileOfExactlySixtyFourMebibytesIsRead() {
        const std::string path = S(Path("limit.txt"));
        std::string all;
        QCOMPARE(ErrorOf([&] { all = vb::ReadAll(path); }), std::int64_t(0));
        QCOMPARE(std::int64_t(all.size()), vb::kMaxFileBytes);
    }

    void writingToAPipeOrALinkToADeviceIsRefusedWithoutWaiting_data() {
        QTest::addColumn<QString>("name");
        QTest::newRow("pipe") << "pipe.txt";
        QTest::newRow("link to /dev/zero") << "zero.txt";
        QTest::newRow("socket") << "socket.txt";
    }
    void writingToAPipeOrALinkToADeviceIsRefusedWithoutWaiting() {
        QFETCH(QString, name);
        const std::string path = S(dir.filePath(name));
        QCOMPARE(InChild([&] { vb::WriteAll(path, "x"); }).number, std::int64_t(75));
        QCOMPARE(InChild([&] { vb::SequentialOutput out(path, vb::SequentialOutput::Append); }).number,
                 std::int64_t(75));
        struct stat info {};
        QVERIFY(::lstat(path.c_str(), &info) == 0);
        QVERIFY(!S_ISREG(info.st_mode)); // left as it was
    }

    // ---- the windows that read a file ----

    void theViewersLoadOfAPipeEndsSilentlyAndStopsTheTimer() {
        frmQuillmaxSerial* console = StartConsole();
        QVERIFY(console);
        console->Timer1->setEnabled(true);
        ModalAnswerer answerer;
        answerer.chooseFile(Path("pipe.txt"));
        {
            PipeRescuer rescuer(S(Path("pipe.txt")));
            QTest::mouseClick(console->cmdBrowse, Qt::LeftButton);
            QVERIFY(answerer.waitUntilAnswered());
            QVERIFY2(!rescuer.rescued(), "the load waited for a writer on the pipe");
        }
        QVERIFY(answerer.boxes.isEmpty());
        QVERIFY(answerer.unexpected.isEmpty());
        QVERIFY(!console->Timer1->Enabled());
        for (QWidget* window : QApplication::topLevelWidgets())
            QVERIFY(!(qobject_cast<Form2*>(window) && window->isVisible()));
    }

    void theViewersLoadOfAHugeFileEndsSilentlyAndStopsTheTimer() {
        frmQuillmaxSerial* console = StartConsole();
        QVERIFY(console);
        console->Timer1->setEnabled(true);
        ModalAnswerer answerer;
        answerer.chooseFile(Path("huge.txt"));
        QTest::mouseClick(console->cmdBrowse, Qt::LeftButton);
        QVERIFY(answerer.waitUntilAnswered());
        QVERIFY(answerer.boxes.isEmpty());
        QVERIFY(!console->Timer1->Enabled());
        QVERIFY(console->strRecordCount.empty());
    }

    void theTextEditorsLoadOfAPipeShowsTheErrorBox() {
        StartConsole();
        Form1* form = ShowTextUploader();
        QVERIFY(form);
        ModalAnswerer answerer;
        answerer.chooseFile(Path("pipe.txt"));
        answerer.pressInBox(QMessageBox::Ok);
        {
            PipeRescuer rescuer(S(Path("pipe.txt")));
            form->cmdLoad->click();
            QVERIFY(answerer.waitUntilAnswered());
            QVERIFY2(!rescuer.rescued(), "the load waited for a writer on the pipe");
        }
        QCOMPARE(answerer.boxes.size(), 1);
        QCOMPARE(answerer.boxes[0].title, QString("ERROR"));
        QCOMPARE(answerer.boxes[0].text, "Path/File access error: " + Path("pipe.txt"));
        QVERIFY(form->Text1Text().empty());
        form->hide();
    }

    void theUploadOfAPipeShowsTheErrorBoxAndSendsNothing() {
        DeviceCommandRun run;
        QVERIFY(run.found);
        run.answerer.chooseFile(Path("pipe.txt"));
        run.answerer.pressInBox(QMessageBox::Ok);
        {
            PipeRescuer rescuer(S(Path("pipe.txt")));
            run.console->cmdUploadData->click();
            QVERIFY(run.answerer.waitUntilAnswered());
            QVERIFY2(!rescuer.rescued(), "the upload waited for a writer on the pipe");
        }
        QCOMPARE(run.answerer.boxes,
                 QList<SeenBox>{RunTimeErrorBox("Path/File access error: " + Path("pipe.txt"))});
        QTest::qWait(50);
        QCOMPARE(run.tablet->received(), std::string("\x05")); // the handshake only
    }

    void theEditorsOpenOfAPipeEndsWithoutLoading() {
        StartConsole();
        ShowRecordEditor();
        frmKorvaniUploadUtility* editor = nullptr;
        for (QWidget* window : QApplication::topLevelWidgets())
            if (auto* found = qobject_cast<frmKorvaniUploadUtility*>(window); found && !found->Unloaded())
                editor = found;
        QVERIFY(editor);
        ModalAnswerer answerer;
        answerer.chooseFile(Path("pipe.txt"));
        {
            PipeRescuer rescuer(S(Path("pipe.txt")));
            editor->findChild<QPushButton*>("cmdOpen")->click();
            QVERIFY(answerer.waitUntilAnswered());
            QVERIFY2(!rescuer.rescued(), "the open waited for a writer on the pipe");
        }
        QVERIFY(answerer.boxes.isEmpty());
        QVERIFY(answerer.unexpected.isEmpty());
        QVERIFY(!editor->table.FileLoaded);
        QCOMPARE(editor->table.RecordCount, short(0));
        editor->close();
    }
};

VELMORA_PROGRAM_TEST_MAIN(tst_OddPaths)
#include "tst_odd_paths.moc"
