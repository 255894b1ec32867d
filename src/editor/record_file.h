// The record data file and the editor's record table.
//
// A record data file holds up to 100 records of 111 text fields, one field per line, each record followed
// by an empty line, every line ended by CR LF; no header, count or trailer. The record table keeps the
// open file in memory as records[field 0..111][record 0..100] (field slot 111 is never filled; record
// slot 100 only when a file holds a 101st record, which Commit then refuses).
#pragma once

#include <array>
#include <string>

namespace editor {

inline constexpr int kFieldCount = 111;  // field indexes 0..110
inline constexpr int kFieldSlots = 112;  // table slots 0..111
inline constexpr int kRecordSlots = 101; // table slots 0..100
inline constexpr int kMaxRecords = 100;
inline constexpr int kLinesPerRecord = kFieldCount + 1;
inline constexpr int kNameField = 0;
inline constexpr int kNoteField = 6;
inline constexpr int kMemoField = 7;
inline constexpr int kInfo1Field = 8;
inline constexpr int kInfo4Field = 11;
inline constexpr int kFirstNumberedField = 12; // numbered field n (1..99) is at index n + 11

// Caption shown beside a field's entry box ("Name" ... "Info 4", then "1" ... "99").
std::string FieldCaption(int field);
// Maximum length of a field's entry box (the file does not enforce it).
int FieldMaxLength(int field);

struct RecordTable {
    std::array<std::array<std::string, kRecordSlots>, kFieldSlots> records; // [field][record]
    short RecordCount = 0;
    short CurrentRecord = 0; // counted from 1; column CurrentRecord - 1
    std::string FilePathName;

    bool RecordEdited = false;
    bool FileChangedByDelete = false;
    bool FileChanged = false;
    bool FileChangedReserved = false; // set by New File beside FileChanged; read by nothing
    bool RecordsChanged = false;
    bool FileLoaded = false;
    bool UpdateCancelled = false;
    bool AddingRecord = false;
    bool AddingRecordCompanion = false;
    bool OpenDialogMode = false;
    bool DialogCancelled = false;
    bool AppendEndMarker = false;

    // Every slot of fields 0..111, records 0..100 becomes "".
    void ClearRecords();
    // The field of record `record` (1-based), as the entry boxes show it.
    std::string& At(int field, int record) { return records[field][record - 1]; }
};

// Reads FilePathName into the table (see the format above). Fields are stored as read, untrimmed.
// Sets RecordCount to the number of whole records and CurrentRecord to 1 on success.
//
// Lines are taken as sequential line input takes them, whatever wrote the file:
//  - CR LF ends a line, and so does a CR alone (a file with CR line ends reads like one with CR LF; CR CR LF
//    is a line end followed by an empty line);
//  - an LF alone ends nothing and stays in the field's text, so a file with LF line ends is a single line:
//    an uncounted partial record, RecordCount 0;
//  - bytes after the last line end are a last line of their own;
//  - every other byte, 8-bit characters, NUL, Ctrl-Z and EOT included, is field text. So the EOT (0x04)
//    that the end-marker routine may append after the last separator is field 0 of an uncounted record.
// Raises 53 when the file does not exist, 62 when the file ends where a record's separator line is
// expected (RecordCount and CurrentRecord are then left as they were), 9 for lines beyond record 101.
void ReadRecordFile(RecordTable& table);

// Writes RecordCount records to FilePathName, replacing the file. Empty fields 6 and 11 first receive a
// single space in the table (kept there); every field is written trimmed. Returns false, writing nothing,
// when RecordCount is above 100. Clears RecordEdited after the write. File errors raise numbered errors.
bool WriteRecordFile(RecordTable& table);

// Appends one EOT byte (0x04) to FilePathName when it is set and AppendEndMarker is true.
void AppendEndMarkerToFile(const RecordTable& table);

} // namespace editor
