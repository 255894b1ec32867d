// What the editor's window tests share: opening a fresh editor window, finding its controls, clicking
// with answers queued for the boxes and dialogs it shows, typing, and the bytes a record data file must
// hold.
#pragma once

#include "editor/frm_korvani_upload_utility.h"
#include "editor/tab_strip.h"
#include "platform/vb_text.h"
#include "support/modal_answerer.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTemporaryDir>
#include <QTest>
#include <array>
#include <string>
#include <vector>

namespace editor_tests {

using testing_support::ModalAnswerer;
using testing_support::SeenBox;

// A record as 111 field values.
using Record = std::array<std::string, 111>;

inline Record MakeRecord(const std::string& name, const std::string& info1) {
    Record record;
    record[0] = name;
    record[8] = info1;
    return record;
}

// The bytes of a record data file: 111 field lines and an empty line per record, each ended by CR LF,
// fields written without leading and trailing spaces.
inline QByteArray FileBytes(const std::vector<Record>& records) {
    QByteArray bytes;
    for (const Record& record : records) {
        for (const std::string& field : record) {
            const std::string trimmed = vb::Trim(field);
            bytes.append(trimmed.data(), qsizetype(trimmed.size()));
            bytes.append("\r\n");
        }
        bytes.append("\r\n");
    }
    return bytes;
}

inline QByteArray ReadBytes(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return QByteArray("<missing>");
    return file.readAll();
}

inline bool WriteBytes(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size();
}

// `count` records whose Name is "Name <n>" and Info 1 "Info <n>", and numbered field 1 "F<n>".
inline std::vector<Record> NumberedRecords(int count) {
    std::vector<Record> records;
    for (int n = 1; n <= count; ++n) {
        Record record = MakeRecord("Name " + std::to_string(n), "Info " + std::to_string(n));
        record[12] = "F" + std::to_string(n);
        records.push_back(record);
    }
    return records;
}

// The editor window the console would show, if one is loaded.
inline frmKorvaniUploadUtility* FindEditor() {
    for (QWidget* window : QApplication::topLevelWidgets()) {
        auto* editor = qobject_cast<frmKorvaniUploadUtility*>(window);
        if (editor && window->objectName() == "frmKorvaniUploadUtility" && !editor->Unloaded()) return editor;
    }
    return nullptr;
}

// Closes a loaded editor without any question and waits until it is gone.
inline void UnloadEditor() {
    if (frmKorvaniUploadUtility* editor = FindEditor()) {
        editor->table.FileChangedByDelete = false;
        editor->table.FileChanged = false;
        editor->close();
    }
    QTest::qWait(1);
}

// A fresh editor, shown and active.
inline frmKorvaniUploadUtility* OpenFreshEditor() {
    UnloadEditor();
    ShowRecordEditor();
    frmKorvaniUploadUtility* editor = FindEditor();
    if (editor && !QTest::qWaitForWindowActive(editor)) qWarning("the editor did not become active");
    return editor;
}

inline QWidget* Box(QWidget* editor, int field) {
    return editor->findChild<QWidget*>(QStringLiteral("txtAI(%1)").arg(field));
}

inline QString BoxText(QWidget* editor, int field) {
    QWidget* box = Box(editor, field);
    if (auto* line = qobject_cast<QLineEdit*>(box)) return line->text();
    if (auto* memo = qobject_cast<QPlainTextEdit*>(box)) return memo->toPlainText();
    return "<no box>";
}

template <typename T = QAbstractButton> T* Control(QWidget* editor, const QString& name) {
    return editor->findChild<T*>(name);
}

// The next file dialog is answered with `path`.
inline void ChooseFile(ModalAnswerer& answerer, const QString& path) {
    answerer.chooseFile(path);
}

// The page that holds a numbered field (fields 12 and up), or -1 for a fixed field.
inline int PageOf(int field) {
    return field < 12 ? -1 : (field - 12) / 23;
}

// Shows the page of `field` by clicking its tab, as a user would before typing there.
inline void ShowPageOf(QWidget* editor, int field) {
    const int page = PageOf(field);
    if (page < 0) return;
    auto* strip = Control<QTabBar>(editor, "TabStrip1");
    if (strip->currentIndex() != page)
        QTest::mouseClick(strip, Qt::LeftButton, Qt::NoModifier, strip->tabRect(page).center());
}

// Key clicks for each character; 8-bit characters (which QTest::keyClicks refuses) are sent with their
// key code and text, as a keyboard layout that has them would send them.
inline void KeyClicks(QWidget* widget, const QString& text) {
    for (QChar character : text) {
        if (character.unicode() < 0x80)
            QTest::keyClick(widget, char(character.unicode()));
        else
            QTest::sendKeyEvent(QTest::Click, widget, Qt::Key(character.toUpper().unicode()),
                                QString(character), Qt::NoModifier);
    }
}

// Types `text` into a field's box at its end, with real key events.
inline void Type(QWidget* editor, int field, const QString& text) {
    ShowPageOf(editor, field);
    QWidget* box = Box(editor, field);
    if (auto* line = qobject_cast<QLineEdit*>(box)) line->end(false);
    KeyClicks(box, text);
}

// Replaces a field's text by typing `text` over the selected old text.
inline void Retype(QWidget* editor, int field, const QString& text) {
    ShowPageOf(editor, field);
    QWidget* box = Box(editor, field);
    if (auto* line = qobject_cast<QLineEdit*>(box))
        line->selectAll();
    else if (auto* memo = qobject_cast<QPlainTextEdit*>(box))
        memo->selectAll();
    KeyClicks(box, text);
}

// Clicks a visible button with the mouse; a hidden one with click(), as code would run it.
inline void Click(QWidget* editor, const char* name) {
    QAbstractButton* button = Control(editor, name);
    if (!button) {
        qWarning("no button %s", name);
        return;
    }
    if (button->isVisible())
        QTest::mouseClick(button, Qt::LeftButton);
    else
        button->click();
}

inline bool Enabled(QWidget* editor, const char* name) {
    QWidget* widget = editor->findChild<QWidget*>(name);
    return widget && widget->isEnabled();
}

inline QString LabelText(QWidget* editor, const char* name) {
    return Control<QLabel>(editor, name)->text();
}

inline QComboBox* GoToBox(QWidget* editor) {
    return Control<QComboBox>(editor, "cboGoToRecord");
}

// The expected description of a box: title, text, icon and buttons.
inline bool BoxIs(const SeenBox& seen, const QString& title, const QString& text, QMessageBox::Icon icon,
                  QMessageBox::StandardButtons buttons) {
    const bool same =
        seen.title == title && seen.text == text && seen.icon == icon && seen.buttons == buttons;
    if (!same) qWarning() << "box seen:" << seen.title << seen.text << seen.icon << seen.buttons;
    return same;
}

inline const QMessageBox::StandardButtons kYesNo = QMessageBox::Yes | QMessageBox::No;
inline const QMessageBox::StandardButtons kOk = QMessageBox::Ok;

// The boxes' texts and titles, written out here on their own so that a changed text fails a test.
inline const QString kSaveChanges = "Save Changes";
inline const QString kSaveBeforeNew =
    "You have made changes to this file. Do you want to save them before creating a new file?";
inline const QString kSaveBeforeOpen =
    "You have made changes to this file. Do you want to save them before opening another file?";
inline const QString kSaveToFile = "You have made changes to this file. Do you want to save them to file?";
inline const QString kRecordChangeTitle = "Record Change Detected";
inline const QString kRecordChange =
    "You have made changes to this record. Do you wish to save these changes?";
inline const QString kMaximum = "Maximum number of records is 100.";
inline const QString kPathNeededTitle = "File Path/Name needed";
inline const QString kPathNeeded =
    "You must create a file path and file name before continuing.\r\n\r\nDo that now?";
inline const QString kNotExistTitle = "File Does Not Currently Exist";
inline const QString kNotExist = "This file does not exist.\r\n\r\nCreate this file?";
inline const QString kCreatedTitle = "File Created Successfully";
inline const QString kCreated = "File has been created. You can now add records.";
inline const QString kNoRecordsTitle = "No Records";
inline const QString kNoRecordsTail = " currently has no records to display";
inline const QString kNameNotEnteredTitle = "File Name not entered";
inline const QString kUpdateCanceledTitle = "Update Will Be Canceled";
inline const QString kUpdateCanceled =
    "The 'Name' and 'Info 1' fields must contain data to update the record.";
inline const QString kDeleteTitle = "Delete Current Record";
inline const QString kDelete = "You are about to delete the current record. Continue?";
inline const QString kApplicationTitle = "Velmora LT Uploader/Downloader Tool";

} // namespace editor_tests
