// CShellFile: the item of kind FILE. One class serves the file utilities
// (attributes, delete, rename, copy), directory searches, line-oriented text
// files, section files (the form of the macro sources), record files of
// numbers and XML documents. The type is fixed at creation and decides what
// a file item can do.
#pragma once

#include <cstdint>
#include <ctime>
#include <memory>
#include <vector>

#include "items/shell_item.h"

class CShell;
class Matrix;

// The type word: the type in bits 4 to 11, the access in the low bits.
enum : int {
    FILE_TYPE_FILE = 0,
    FILE_TYPE_LIST = 0x10,
    FILE_TYPE_TEXT = 0x20,
    FILE_TYPE_BINARY = 0x40,
    FILE_TYPE_SECTION = 0x80,
    FILE_TYPE_XML = 0x100,
    FILE_TYPE_GDX = 0x200,
    FILE_TYPE_MASK = 0xFF0,
    FILE_XML_EXTENDED = 0x1000,

    FILE_ACCESS_READ = 1,
    FILE_ACCESS_WRITE = 2,
    FILE_ACCESS_APPEND = 4,
    FILE_ACCESS_EMPTY = 8,
    FILE_ACCESS_MASK = 0xF,
};

// Element types of a record header: code in bits 8 to 11, size in bits 0 to 3.
enum : uint32_t {
    RECORD_INT16 = 0x102,
    RECORD_INT32 = 0x204,
    RECORD_FLOAT = 0x304,
    RECORD_DOUBLE = 0x408,
};

// Last result of a record operation.
enum { RECORD_GOOD = 0, RECORD_END = 1, RECORD_CORRUPTED = 2 };

// One record of a binary file: rows by columns, stored column by column.
struct SRecord {
    int rows = 0;
    int cols = 0;
    std::vector<double> data;
};

// A line of a section file.
struct SFileLine {
    Text text;
    bool heading = false;
};

// The XML document of a file item lives with the XML document code; the file item
// only keeps it alive. Until that code registers its hooks, every XML path of
// a file item answers 157.
class CFileXmlData {
public:
    virtual ~CFileXmlData() = default;
};

class CShellFile;

struct SXmlFileHooks {
    // NEW FILE name path /X [/E]: loads the document into file.m_pXml. A code.
    int (*open)(CShell& shell, CShellFile& file, CWords& args, COptions& options);
    // SET f keyword... for the keywords of an XML file (FIND, NEXT, LOAD, SAVE, LIST too).
    int (*set)(CShell& shell, CShellFile& file, TextView keyword, CWords& args, COptions& options,
               Text& result);
    // f[!X...] and f[!XDT...]: false when the word is none of the XML attributes.
    bool (*status)(CShell& shell, CShellFile& file, const std::vector<Text>& args, Text& out);
};

// Flags of the rows of SET f (the FILE table, file_kind.cpp).
enum : unsigned {
    FILE_ALSO_XML = SET_KIND_FLAGS,      // on an XML file the XML file's handler takes it
    FILE_XML_ONLY = SET_KIND_FLAGS << 1, // an XML file's keyword: other files answer "XML file expected"
};

// The XML document code installs its hooks here (null removes them). It also
// appends its own keywords to the FILE table (FILE_XML_ONLY rows).
void RegisterXmlFileHooks(const SXmlFileHooks* hooks);
const SXmlFileHooks* XmlFileHooks();

class CShellFile : public CShellItem {
public:
    CShellFile(CShellEnv* env, int type);
    ~CShellFile() override;

    int Type() const { return m_nType & FILE_TYPE_MASK; }
    int Access() const { return m_nType & FILE_ACCESS_MASK; }
    bool IsOpen() const { return m_fd >= 0; }
    void Describe(Text& out) override;

    // --- Names and attributes ---------------------------------------------------------
    // Splits the path into directory, name and extension (the drive stays empty here).
    void SetPath(TextView path);
    Text Path() const;
    // Reads the attributes of the named file; false (and not found) when it does not exist.
    bool LookUp();
    // f[!NAME]: the text form of an attribute; false when the word names none.
    bool Attribute(TextView word, Text& out);

    // --- Opening (NEW FILE) --------------------------------------------------------------
    // Opens the file for the type and access; a code (errno mapped, 107, 485), 0 on success.
    int Open(bool quiet);

    // --- Directory search (LIST files) ------------------------------------------------------
    int FindFirst(TextView pattern, bool directories, bool quiet);
    int FindNext(bool quiet);

    // --- Text files -----------------------------------------------------------------------------
    // The next line from the front of the buffer; `end` is the end result. A code (217, 220).
    int ReadLine(Text& line, bool& end);
    // The whole remaining buffer as lines (CR LF and LF CR are one break).
    int TextLines(std::vector<Text>& lines) const;
    // Appends encoded text; 218 when not open for writing, 236 on a failed write.
    int WriteText(TextView text);

    // --- Section files -------------------------------------------------------------------------
    // Breaks decoded section text into lines and headings.
    static void ScanSection(TextView text, std::vector<SFileLine>& out);
    // The lines of the section "type name" ("*" or empty name: the type alone); false when missing.
    bool SectionLines(TextView type, TextView name, std::vector<Text>& out) const;
    // Removes the section and, with `rows` not null and not empty, appends it anew with these lines.
    void ReplaceSection(TextView type, TextView name, const std::vector<Text>* rows);
    // All headings, those that begin with `type`, or the one "type name".
    void Headings(TextView type, TextView name, std::vector<Text>& out) const;
    // Writes a modified section file from its first heading on; 0, or 7.
    int Sync();
    const std::vector<SFileLine>& Lines() const { return m_lines; }

    // --- Binary record files ---------------------------------------------------------------------
    // `index` -1: the next record. A code of the record family (222 to 228), 0 on success.
    int ReadRecord(long index, SRecord& out);
    // Raw rows: one row of a record at a time (1 by columns). Without a record in
    // progress, or with an index, the record (the next one by default) is taken
    // first; after its last row the following call goes on with the next record.
    int ReadRawRow(long index, SRecord& out);
    // `index` below 0 appends. `element` is one of the RECORD_ types. A code.
    int WriteRecord(long index, const SRecord& record, uint32_t element);
    // One text per record, "%d %d %d %c%d" or "%d %d %d unknown". A code.
    int RecordList(std::vector<Text>& rows);

    // The shell that made the item, as macros address it ("X%.08lX").
    Text m_sShell;

    // Binary record state.
    long m_nRecord = -1;
    bool m_bRaw = false;
    int m_nLastResult = RECORD_GOOD;
    uint32_t m_nHeader = 0;
    uint32_t m_nElement = 0;
    int m_nElementSize = 0;
    int m_nRows = 0;
    int m_nCols = 0;
    long long m_nDataOffset = 0;
    int m_nRawRow = 0;
    SRecord m_rawRecord;

    // Section lines and the XML document.
    std::vector<SFileLine> m_lines;
    std::unique_ptr<CFileXmlData> m_pXml;

    // The open file and the modified flag.
    int m_fd = -1;
    bool m_bModified = false;

    // Split name.
    Text m_sDrive;
    Text m_sDirectory;
    Text m_sName;
    Text m_sExtension;

    // The data of the last look-up or directory search.
    bool m_bFound = false;
    bool m_bDirectory = false;
    bool m_bSystem = false;
    bool m_bReadOnly = false;
    time_t m_created = 0;
    time_t m_modified = 0;
    time_t m_accessed = 0;
    double m_size = 0;

    // The text of a text file, read from the front.
    Text m_sText;
    size_t m_nTextPos = 0;

    // A change counter, read as !CHANGED.
    int32_t m_nChanged = 0;

    // GDX: the three numbers of its record geometry (see file_binary.cpp).
    long long m_gdx[3] = {0, 0, 0};

    int m_nType = 0;

private:
    // The hits of the present directory search, sorted by name, and the next one to hand out.
    std::vector<Text> m_hits;
    size_t m_nextHit = 0;
    bool m_bSearchDirectories = false;
    Text m_searchDirectory;

    // Walks record headers from the start to record `index` (-1: to the end). A code.
    int SeekRecord(long& index, long long& offset, bool toEnd);
    void DealtWith(long index, uint32_t type, int rows, int cols, long long offset);
    long long FileSize() const;
    // Where the record behind the last one dealt with begins, and the file size then.
    long long m_nNextOffset = 0;
    long long m_nKnownSize = -1;
    int ReadHeader(long long offset, uint32_t& type, int& rows, int& cols, long long& bytes);
    bool TakeHit();
    // The texts of !ATTRIBUTES, !ACCESS and !BININFO.
    void AttributesText(Text& out);
    void AccessText(Text& out);
    void RecordInfoText(Text& out);
};

// Registers the FILE item kind and the commands READ, READTAB and WRITE.
void RegisterFiles();
