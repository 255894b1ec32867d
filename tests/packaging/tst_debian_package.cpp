// The Debian package, made as a user makes it (cpack -G DEB with the build folder's CPack configuration)
// into a scratch folder and unpacked there with dpkg -x: its control fields, its contents, the desktop
// entry, metainfo, icons and man pages it ships, and the three programs run from the unpacked root.
// The build folder itself is only read: cpack stages and packs in the scratch folder.
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>
#include <QXmlStreamReader>

namespace {

const QString kApplicationId = QStringLiteral("io.github.velmora.Velmora");
const QString kVersion = QStringLiteral(VELMORA_VERSION);

struct Run {
    int status = -1;
    QString out;
    QString err;
    bool finished = false;
};

// Runs a program to its end (or kills it at the limit), with its output gathered; `input` is its stdin.
Run RunProgram(const QString& program, const QStringList& arguments, int limitMs = 60000,
               const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment(),
               const QByteArray& input = {}) {
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    Run run;
    if (!process.waitForStarted(10000)) {
        run.err = program + QStringLiteral(": did not start: ") + process.errorString();
        return run;
    }
    if (!input.isEmpty()) process.write(input);
    process.closeWriteChannel();
    run.finished = process.waitForFinished(limitMs);
    if (!run.finished) {
        process.kill();
        process.waitForFinished(5000);
    }
    run.status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = QString::fromUtf8(process.readAllStandardOutput());
    run.err += QString::fromUtf8(process.readAllStandardError());
    return run;
}

QString Describe(const QString& what, const Run& run) {
    return QStringLiteral("%1: status %2%3\nstdout: %4\nstderr: %5")
        .arg(what)
        .arg(run.status)
        .arg(run.finished ? QString() : QStringLiteral(" (still running at the limit: killed)"))
        .arg(run.out, run.err);
}

bool WriteText(const QString& path, const QString& text) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(text.toUtf8()) == text.toUtf8().size();
}

// The fields of a control file, "Key: value" per line (continuation lines belong to the field before).
QMap<QString, QString> ControlFields(const QString& text) {
    QMap<QString, QString> fields;
    QString last;
    for (const QString& line : text.split('\n')) {
        if (line.startsWith(' ') && !last.isEmpty()) {
            fields[last] += '\n' + line.trimmed();
            continue;
        }
        const qsizetype colon = line.indexOf(':');
        if (colon <= 0) continue;
        last = line.left(colon).trimmed();
        fields[last] = line.mid(colon + 1).trimmed();
    }
    return fields;
}

// The names of the packages a Depends line asks for ("libc6 (>= 2.34), libqt6core6 (>= 6.4.0) | x").
QSet<QString> DependedPackages(const QString& depends) {
    QSet<QString> names;
    for (const QString& alternatives : depends.split(',')) {
        for (const QString& one : alternatives.split('|')) {
            const QString name = one.trimmed().section(' ', 0, 0).section(':', 0, 0);
            if (!name.isEmpty()) names.insert(name);
        }
    }
    return names;
}

// The long options ("--port") a --help text names.
QStringList LongOptions(const QString& help) {
    QStringList options;
    static const QRegularExpression option(QStringLiteral("(?:^|[\\s,\\[])(--[a-z][a-z0-9-]*)"));
    for (auto match = option.globalMatch(help); match.hasNext();) {
        const QString name = match.next().captured(1);
        // Qt's own help option for its platform options, not one of the program's.
        if (name != QLatin1String("--help-all") && !options.contains(name)) options << name;
    }
    return options;
}

// The subcommand names of `velmora-cli --help`: the indented words under "Subcommands:".
QStringList Subcommands(const QString& help) {
    QStringList names;
    bool inList = false;
    for (const QString& line : help.split('\n')) {
        if (line.startsWith(QLatin1String("Subcommands:"))) {
            inList = true;
            continue;
        }
        if (!inList) continue;
        if (!line.startsWith(QLatin1String("  "))) break;
        names << line.trimmed().section(' ', 0, 0);
    }
    return names;
}

} // namespace

class DebianPackage : public QObject {
    Q_OBJECT

    QTemporaryDir scratch;
    QString package; // the .deb made by cpack
    QString root;    // the package unpacked with dpkg -x
    QString contents;
    QProcessEnvironment programEnvironment;

    QString Installed(const QString& path) const { return root + QStringLiteral("/usr/") + path; }
    QString ManPage(const QString& program) const {
        return Installed(QStringLiteral("share/man/man1/%1.1.gz").arg(program));
    }

    // A man page rendered as plain text, and groff's warnings about it.
    Run RenderManPage(const QString& program) const {
        const Run unpacked = RunProgram(QStringLiteral("gzip"), {QStringLiteral("-dc"), ManPage(program)});
        if (unpacked.status != 0) return unpacked;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C"));
        return RunProgram(QStringLiteral("groff"),
                          {QStringLiteral("-man"), QStringLiteral("-Tascii"), QStringLiteral("-ww"),
                           QStringLiteral("-P-cbou"), QStringLiteral("-rLL=200n")},
                          30000, environment, unpacked.out.toUtf8());
    }

private slots:
    void initTestCase() {
        QVERIFY(scratch.isValid());
        const QString build = QFileInfo(QStringLiteral(VELMORA_PROGRAM)).absolutePath();
        const QString config = build + QStringLiteral("/CPackConfig.cmake");
        QVERIFY2(QFileInfo::exists(config), qPrintable(config + " is missing: include(CPack) did not run"));

        // cpack's own install of the project first builds the build folder's preinstall target (all of it),
        // which a test must not do while other tests run from that folder. So the package is made from the
        // same configuration, but installed by the build folder's install script alone, into cpack's
        // staging folder with the package's prefix and stripping: the files a user's cpack installs.
        const QString script = scratch.filePath(QStringLiteral("install.cmake"));
        const QString wrapper = scratch.filePath(QStringLiteral("config.cmake"));
        QVERIFY(WriteText(script,
                          QStringLiteral("set(CMAKE_INSTALL_PREFIX \"${CPACK_PACKAGING_INSTALL_PREFIX}\")\n"
                                         "set(CMAKE_INSTALL_DO_STRIP \"${CPACK_STRIP_FILES}\")\n"
                                         "include(\"%1/cmake_install.cmake\")\n")
                              .arg(build)));
        QVERIFY(WriteText(wrapper, QStringLiteral("include(\"%1\")\n"
                                                  "set(CPACK_INSTALL_CMAKE_PROJECTS \"\")\n"
                                                  "set(CPACK_INSTALL_SCRIPTS \"%2\")\n")
                                       .arg(config, script)));

        QElapsedTimer clock;
        clock.start();
        const QString output = scratch.filePath(QStringLiteral("package"));
        const Run cpack = RunProgram(QStringLiteral("cpack"),
                                     {QStringLiteral("-G"), QStringLiteral("DEB"), QStringLiteral("--config"),
                                      wrapper, QStringLiteral("-B"), output},
                                     150000);
        QVERIFY2(cpack.status == 0, qPrintable(Describe("cpack -G DEB", cpack)));
        const QStringList made = QDir(output).entryList({QStringLiteral("*.deb")}, QDir::Files);
        QVERIFY2(made.size() == 1, qPrintable(made.join(' ') + "\n" + cpack.out));
        package = output + '/' + made.first();
        qInfo("cpack made %s in %.1f s", qPrintable(made.first()), clock.elapsed() / 1000.0);

        root = scratch.filePath(QStringLiteral("root"));
        const Run unpack = RunProgram(QStringLiteral("dpkg"), {QStringLiteral("-x"), package, root});
        QVERIFY2(unpack.status == 0, qPrintable(Describe("dpkg -x", unpack)));
        const Run listing = RunProgram(QStringLiteral("dpkg-deb"), {QStringLiteral("--contents"), package});
        QVERIFY2(listing.status == 0, qPrintable(Describe("dpkg-deb --contents", listing)));
        contents = listing.out;

        // The programs run as installed: no display, no library path pointing into a build.
        programEnvironment = QProcessEnvironment::systemEnvironment();
        programEnvironment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        programEnvironment.remove(QStringLiteral("DISPLAY"));
        programEnvironment.remove(QStringLiteral("LD_LIBRARY_PATH"));
    }

    // Package, Version and Architecture as dpkg expects them, and a Depends line that names the Qt
    // libraries the programs link and the fonts the windows are laid out with.
    void controlFieldsNameThePackageAndWhatItNeeds() {
        const Run info = RunProgram(QStringLiteral("dpkg-deb"), {QStringLiteral("--info"), package});
        QVERIFY2(info.status == 0, qPrintable(Describe("dpkg-deb --info", info)));
        const Run field = RunProgram(QStringLiteral("dpkg-deb"), {QStringLiteral("--field"), package});
        QVERIFY2(field.status == 0, qPrintable(Describe("dpkg-deb --field", field)));
        const QMap<QString, QString> fields = ControlFields(field.out);

        QCOMPARE(fields.value(QStringLiteral("Package")), QStringLiteral("velmora"));
        QCOMPARE(fields.value(QStringLiteral("Version")), kVersion);
        const Run architecture = RunProgram(QStringLiteral("dpkg"), {QStringLiteral("--print-architecture")});
        QCOMPARE(fields.value(QStringLiteral("Architecture")), architecture.out.trimmed());
        QCOMPARE(fields.value(QStringLiteral("Section")), QStringLiteral("utils"));
        QVERIFY2(fields.value(QStringLiteral("Maintainer"))
                     .contains(QRegularExpression(QStringLiteral("<.+@.+>"))),
                 qPrintable(field.out));
        QVERIFY2(fields.value(QStringLiteral("Description")).contains(QLatin1String("Velmora LT")),
                 qPrintable(field.out));
        QCOMPARE(QFileInfo(package).fileName(),
                 QStringLiteral("velmora_%1_%2.deb").arg(kVersion, architecture.out.trimmed()));

        const QSet<QString> depends = DependedPackages(fields.value(QStringLiteral("Depends")));
        for (const char* needed :
             {"libqt6widgets6", "libqt6gui6", "libqt6core6", "libc6", "libstdc++6", "fonts-liberation2"})
            QVERIFY2(depends.contains(QLatin1String(needed)),
                     qPrintable(QStringLiteral("Depends lacks %1: %2")
                                    .arg(QLatin1String(needed), fields.value(QStringLiteral("Depends")))));
        // --info shows the same control file.
        QVERIFY2(info.out.contains(QLatin1String(" Package: velmora\n")), qPrintable(info.out));
    }

    void contentsHoldEveryInstalledFile_data() {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("mode");
        for (const char* program : {"velmora", "velmora-cli", "velmora-sim"})
            QTest::addRow("bin/%s", program)
                << QStringLiteral("./usr/bin/%1").arg(QLatin1String(program)) << QStringLiteral("-rwxr-xr-x");
        QTest::newRow("desktop entry")
            << QStringLiteral("./usr/share/applications/%1.desktop").arg(kApplicationId)
            << QStringLiteral("-rw-r--r--");
        QTest::newRow("metainfo")
            << QStringLiteral("./usr/share/metainfo/%1.metainfo.xml").arg(kApplicationId)
            << QStringLiteral("-rw-r--r--");
        QTest::newRow("scalable icon")
            << QStringLiteral("./usr/share/icons/hicolor/scalable/apps/%1.svg").arg(kApplicationId)
            << QStringLiteral("-rw-r--r--");
        for (const char* size : {"48x48", "128x128"})
            QTest::addRow("icon %s", size) << QStringLiteral("./usr/share/icons/hicolor/%1/apps/%2.png")
                                                  .arg(QLatin1String(size), kApplicationId)
                                           << QStringLiteral("-rw-r--r--");
        for (const char* page : {"velmora", "velmora-cli", "velmora-sim"})
            QTest::addRow("man %s", page)
                << QStringLiteral("./usr/share/man/man1/%1.1.gz").arg(QLatin1String(page))
                << QStringLiteral("-rw-r--r--");
    }

    // dpkg-deb --contents lists the file, owned by root, with the mode a package installs it with.
    void contentsHoldEveryInstalledFile() {
        QFETCH(QString, path);
        QFETCH(QString, mode);
        const QRegularExpression entry(
            QStringLiteral("^%1 root/root +[0-9]+ [0-9-]+ [0-9:]+ %2$")
                .arg(QRegularExpression::escape(mode), QRegularExpression::escape(path)),
            QRegularExpression::MultilineOption);
        QVERIFY2(entry.match(contents).hasMatch(),
                 qPrintable(path + " not listed as " + mode + ":\n" + contents));
    }

    // desktop-file-validate has nothing to say about the entry, whose program and icon the package holds.
    void desktopEntryIsValid() {
        const QString entry = Installed(QStringLiteral("share/applications/%1.desktop").arg(kApplicationId));
        const Run validate = RunProgram(QStringLiteral("desktop-file-validate"), {entry});
        QVERIFY2(validate.status == 0 && validate.out.isEmpty() && validate.err.isEmpty(),
                 qPrintable(Describe("desktop-file-validate", validate)));

        QFile file(entry);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QMap<QString, QString> keys =
            ControlFields(QString::fromUtf8(file.readAll()).replace('=', ':'));
        QVERIFY2(QFileInfo(Installed("bin/" + keys.value(QStringLiteral("Exec")).section(' ', 0, 0)))
                     .isExecutable(),
                 qPrintable(keys.value(QStringLiteral("Exec"))));
        QCOMPARE(keys.value(QStringLiteral("Icon")), kApplicationId);
    }

    // appstreamcli finds no error or warning (no network: the screenshot addresses are not fetched), and
    // the metainfo's id, launchable and binaries are what the package holds.
    void metainfoIsValid() {
        const QString metainfo =
            Installed(QStringLiteral("share/metainfo/%1.metainfo.xml").arg(kApplicationId));
        const Run validate = RunProgram(QStringLiteral("appstreamcli"),
                                        {QStringLiteral("validate"), QStringLiteral("--no-net"), metainfo});
        QVERIFY2(validate.status == 0, qPrintable(Describe("appstreamcli validate", validate)));
        QVERIFY2(!validate.out.contains(
                     QRegularExpression(QStringLiteral("^[EW]: "), QRegularExpression::MultilineOption)),
                 qPrintable(validate.out));

        QFile file(metainfo);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QXmlStreamReader xml(&file);
        QString id, launchable;
        QStringList binaries;
        QStringList releases;
        while (!xml.atEnd()) {
            if (xml.readNext() != QXmlStreamReader::StartElement) continue;
            if (xml.name() == QLatin1String("id"))
                id = xml.readElementText();
            else if (xml.name() == QLatin1String("launchable"))
                launchable = xml.readElementText();
            else if (xml.name() == QLatin1String("binary"))
                binaries << xml.readElementText();
            else if (xml.name() == QLatin1String("release"))
                releases << xml.attributes().value(QLatin1String("version")).toString();
        }
        QVERIFY2(!xml.hasError(), qPrintable(xml.errorString()));
        QCOMPARE(id, kApplicationId);
        QCOMPARE(launchable, kApplicationId + QStringLiteral(".desktop"));
        QCOMPARE(binaries, QStringList({"velmora", "velmora-cli", "velmora-sim"}));
        for (const QString& binary : binaries)
            QVERIFY2(QFileInfo(Installed("bin/" + binary)).isExecutable(), qPrintable(binary));
        QVERIFY2(releases.contains(kVersion), qPrintable(releases.join(' ')));
    }

    // The PNG renderings are the sizes their folders name; the scalable icon is an SVG document.
    void iconsAreTheirSizes() {
        for (const int size : {48, 128}) {
            const QImage icon(Installed(
                QStringLiteral("share/icons/hicolor/%1x%1/apps/%2.png").arg(size).arg(kApplicationId)));
            QCOMPARE(icon.size(), QSize(size, size));
            QVERIFY(icon.hasAlphaChannel());
        }
        QFile svg(Installed(QStringLiteral("share/icons/hicolor/scalable/apps/%1.svg").arg(kApplicationId)));
        QVERIFY(svg.open(QIODevice::ReadOnly));
        QXmlStreamReader xml(&svg);
        QVERIFY(xml.readNextStartElement());
        QCOMPARE(xml.name(), QLatin1String("svg"));
        while (!xml.atEnd())
            xml.readNext();
        QVERIFY2(!xml.hasError(), qPrintable(xml.errorString()));
    }

    // Each man page renders without a groff warning, and names every option its program's --help lists
    // (so a new option cannot ship undocumented); velmora-cli's also names every subcommand and each
    // subcommand's options.
    void manPagesDocumentEveryOption_data() {
        QTest::addColumn<QString>("program");
        for (const char* program : {"velmora", "velmora-cli", "velmora-sim"})
            QTest::newRow(program) << QString::fromLatin1(program);
    }
    void manPagesDocumentEveryOption() {
        QFETCH(QString, program);
        const Run page = RenderManPage(program);
        QVERIFY2(page.status == 0 && page.err.isEmpty(),
                 qPrintable(Describe("groff " + program + ".1", page)));
        QVERIFY2(page.out.contains(QLatin1String("NAME")) && page.out.contains(program + " - "),
                 qPrintable(page.out));

        const QString executable = Installed("bin/" + program);
        const Run help = RunProgram(executable, {QStringLiteral("--help")}, 20000, programEnvironment);
        QVERIFY2(help.status == 0, qPrintable(Describe(program + " --help", help)));
        QStringList options = LongOptions(help.out);
        QVERIFY2(options.contains(QLatin1String("--help")), qPrintable(help.out));
        if (program == QLatin1String("velmora-cli")) {
            const QStringList subcommands = Subcommands(help.out);
            QVERIFY2(subcommands.contains("download") && subcommands.contains("signatures"),
                     qPrintable(help.out));
            for (const QString& subcommand : subcommands) {
                QVERIFY2(page.out.contains(QRegularExpression("\\b" + subcommand + "\\b")),
                         qPrintable("the man page does not name the subcommand " + subcommand));
                const Run its =
                    RunProgram(executable, {subcommand, QStringLiteral("--help")}, 20000, programEnvironment);
                QVERIFY2(its.status == 0, qPrintable(Describe("velmora-cli " + subcommand + " --help", its)));
                for (const QString& option : LongOptions(its.out))
                    if (!options.contains(option)) options << option;
            }
        }
        for (const QString& option : options)
            QVERIFY2(
                page.out.contains(QRegularExpression(QRegularExpression::escape(option) + "(?![a-z0-9-])")),
                qPrintable(QStringLiteral("%1.1 does not document %2").arg(program, option)));
    }

    // The programs run from the unpacked root with the system's libraries, and say their version.
    void programsRunFromTheUnpackedRoot() {
        const Run cli = RunProgram(Installed(QStringLiteral("bin/velmora-cli")),
                                   {QStringLiteral("--version")}, 20000, programEnvironment);
        QVERIFY2(cli.status == 0, qPrintable(Describe("velmora-cli --version", cli)));
        QCOMPARE(cli.out, QStringLiteral("velmora-cli %1\n").arg(kVersion));

        const Run tool = RunProgram(Installed(QStringLiteral("bin/velmora")), {QStringLiteral("--version")},
                                    20000, programEnvironment);
        QVERIFY2(tool.status == 0, qPrintable(Describe("velmora --version", tool)));
        QCOMPARE(tool.out.trimmed(), QStringLiteral("velmora %1").arg(kVersion));

        const QString sample = scratch.filePath(QStringLiteral("sample.vlm"));
        const Run sim = RunProgram(Installed(QStringLiteral("bin/velmora-sim")),
                                   {QStringLiteral("--sample-vlm"), QStringLiteral("3"), sample}, 20000,
                                   programEnvironment);
        QVERIFY2(sim.status == 0, qPrintable(Describe("velmora-sim --sample-vlm", sim)));
        QVERIFY(QFileInfo(sample).size() > 0);
    }
};

QTEST_MAIN(DebianPackage)
#include "tst_debian_package.moc"
