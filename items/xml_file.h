// CXMLFileState: what a FILE item of type XML holds beyond a plain file, and
// its commands. The file item forwards `SET f keyword ...` here (Set), its
// status queries `f[!...]` (Status), and the commands IREF and POSITION.
//
// Commands of XML files (`/S` is the quiet form of each: failures become
// their warning twins). Without a current element, commands that need one
// give 132 "XML file position is unset".
//
//   SET f FIND tag [attribute [value]]   /R /O /N /I /Y
//       The next element in document order behind the current one whose tag is
//       `tag` ("*" any), that has `attribute`, with `value`. /R searches from
//       the document start, /O only inside the current element, /N only among
//       the following elements of the same level, /I compares the value
//       without case, /Y goes on from the top when the end is reached. The
//       found element becomes current; the result is its tag. 297.
//   SET f NEXT                           the next hit of the last FIND. 297.
//   SET f LOAD [path]                    reads the file again (or `path`). 282.
//   SET f SAVE [path]                    writes the file (or `path`); named
//       positions are written as "#posmap" attributes first. 283.
//   SET f LIST table                     one row per child element of the
//       current element (no current element: of the level): its tag.
//   SET f POSITION [name]                /E /D /R /G /C
//       /E or a name alone: stores the cursor under `name`, or under a new name
//       "P#n" when there is none or "*"; the result is the name. /D deletes a
//       position (284), /R returns to it and deletes it (285), /G goes to it
//       and keeps it (286), /C deletes all positions. No name and no option: 6.
//   SET f ADDFILE source                 /N /C /O /I /D
//       The root element of the XML file `source` (/N: `source` is XML text)
//       goes in behind the current element, /O in front of it, /C as its last
//       child; /D replaces the current element. The new element becomes
//       current unless /I. 287 source unreadable or no XML, 125 no place.
//   SET f ADDTABLE table [tag]           /C /T /F /I /R /O
//       A new element `tag` (default "table") behind the current one holding
//       the table's numbers, rows by CR LF, with `dim` "rows columns"; /C by
//       columns (`vector`="1"); /T tagged rows only; /R writes into the
//       current element instead; /F makes it the first child of the current
//       element, /O puts it in front; /I keeps the cursor. A table with other
//       than number fields goes in row by row in storage form, `dim` "rows 1".
//       379 no such table, 125.
//   SET f ADDELEMENT tag [data]          /C /O /F /L /I
//       "<tag/>" or "<tag>data</tag>" behind the current element (no current
//       element: last of the level); /O in front of it; /F first, /L last
//       child of it. /C writes the data as CDATA. The new element becomes
//       current unless /I. 127 bad tag or place, 128 data refused.
//   SET f SETATTRIBUTE name value [name value ...]   /P /T /F /R /Y
//       Sets attributes of the current element, /P of its parent (133). /R
//       removes the named attributes (names only); /F changes present ones
//       only (131 for a missing one); /Y sets absent ones only; /T trims the
//       values. 319 malformed name, 131.
//   SET f DELETEELEMENT [attribute ...]  /C /T /R
//       Removes the current element (or the node the cursor stands on) with
//       its line; the element in front of it becomes current. /C removes its
//       content only, /T its text only, /R the named attributes. 140.
//   SET f SETDATA [text]                 /T /C /N /V
//       Replaces the direct text of the current element (child elements stay).
//       /C as CDATA (134 when the text holds "]]>"), /T trims, /N appends to
//       the data that is there, /V puts the text in as it stands (entity
//       references kept; refused with a "<"). 134.
//   SET f GETDATA [attribute]            /T /N /V
//       The data of the current element, or the value of `attribute`. /T
//       trims, /N wants a number (135 otherwise), /V answers empty text where
//       there is nothing instead of 135.
//   SET f GOTO [tag]                     /N /F /L /I /O
//       /N (default) the next element of the level, the first when there is no
//       current one; /F the first, /L the last of the level; /I into the
//       current element, to its first child; /O out to the parent (137 at the
//       top). `tag` filters /N, /F, /L and /I. 136. The result is the tag.
//   SET f ROOT [attribute [value]]       /D
//       Goes to the root element; the result is its tag. /D leaves the cursor
//       and reads (one word) or sets (two) an attribute of the root (138). 137.
//   SET f ADDNODE type text              /B /F /L /O /R /I
//       type TEXT, CDATA, COMMENT, PROC or DOCTYPE (or 0 to 4). Behind the
//       current element or node; /B in front; /F first, /L last child of the
//       current element; /O behind the parent element. /R puts TEXT in as it
//       stands (refused with a "<"). The cursor goes onto the node unless /I. 288.
//   SET f DOCTYPE [text | name line ...]
//       No words: the document type as text (148 when there is none). A word
//       beginning with "<!" is the new document type as it stands; otherwise
//       "<!DOCTYPE name [", one line per further word, "]>". "*" removes it.
//       The schema is read again. 141.
//   SET f VALIDATE                       /R /C /A /P /I /S
//       Checks the current element and what is below it (no current element:
//       the whole document) against the schema: /R the root's name, /C the
//       children and their counts, /A the attributes, their types, bounds and
//       required ones; none of the three: all. /P the element alone, /I passes
//       over elements the schema does not know. The result is the first
//       offence. 148 no schema, 124.
//   SET f EXTRACTFILE path               the current element as an XML file
//       of its own (UTF-8 with declaration). 143.
//   SET f EXTRACTTABLE table             the numbers of the current element
//       (by `dim` and `vector`) or its lines into the table. 143.
//   SET f SORT [key ...]                 the child elements of the current
//       element in order of the keys: attribute names, "#tag" or "#data", a
//       "-" in front for falling order; numbers compare as numbers, other text
//       without case. The keys are kept in the attribute XMLSort ("sort k1
//       k2"); with no keys the kept ones are used (144 when there are none).
//       Adding an element below a sorted one marks XMLSort with "#unsorted";
//       SORT takes the mark away. 145 nothing to sort, 296 XMLSort not written.
//   IREF f [path] /S                     with a path "/id1/id2..." goes to the
//       element of those ID attributes from the root down (290, the cursor
//       stays); without one gives the path of the current element (289, 322).
//   POSITION f [name]                    stores the cursor, as SET f POSITION /E.
//
// Status queries `f[!key ...]`: XROOT, XPARENT, XPARENTPATH, XELEMENTS (tags of
// the level), XALL (count of all elements), XTAG, XATTRIBUTES (names), XEMPTY
// (1/0), XCDATA (1/0), XCHILDS (count of child elements), XSIZE (length of the
// element text), XDATA, XNODETYPE (ELEMENT, TEXT, CDATA, PROC, COMMENT,
// DOCTYPE), XCHILDREN (tags of the children); XATTRIBUTE name (a value).
// Schema: XDTNAME, XDTROOT, XDTELEMENTS (names; with a name its element form),
// XDTCHILDREN name [n], XDTATTRIBUTES name [n] (names; with n the form of the
// n-th, from 0), XDTISA name base (1/0). Empty text when there is no schema.
#pragma once

#include <memory>
#include <string>

#include "base/subcommand_table.h"
#include "items/xml_doc.h"
#include "items/xml_schema.h"
#include "shell/words.h"

class CShell;

class CXMLFileState {
public:
    // A SET keyword's handler: the words behind the keyword.
    using Member = int (CXMLFileState::*)(CWords& args, COptions& options, Text& result);
    // SET f on an XML file, one member per keyword: the XML file's own keywords,
    // then FIND, NEXT, LOAD, SAVE and LIST, which a plain file has as well.
    static const CSubcommandTable<Member>& Keywords();
    // The row option of the keywords a plain file does not have.
    static constexpr unsigned kXmlOnly = 1;

    // `extended`: the file was made with /E; its "#posmap" attributes become
    // named positions at each load.
    explicit CXMLFileState(bool extended = false) : m_extended(extended) {}

    // NEW FILE f path /X: loads `path`; a file that does not exist gives an empty
    // document that SAVE creates. 282 on a broken file.
    int Open(const std::string& path);
    // The shell that looks up tables by name (ADDTABLE, EXTRACTTABLE, LIST).
    void SetShell(CShell* shell) { m_pShell = shell; }
    CShell* Shell() const { return m_pShell; }

    // One entry for the file item: the keyword (abbreviated, or a number for
    // its place in Keywords()); 64 for no XML keyword.
    int Set(TextView keyword, CWords& args, COptions& options, Text& result);
    // f[!key ...]: 0, or 64 for an unknown key.
    int Status(const CWords& args, Text& out);

    int Position(CWords& args, COptions& options, Text& result);
    int AddFile(CWords& args, COptions& options, Text& result);
    int AddTable(CWords& args, COptions& options, Text& result);
    int AddElement(CWords& args, COptions& options, Text& result);
    int SetAttribute(CWords& args, COptions& options, Text& result);
    int DeleteElement(CWords& args, COptions& options, Text& result);
    int SetData(CWords& args, COptions& options, Text& result);
    int GetData(CWords& args, COptions& options, Text& result);
    int Goto(CWords& args, COptions& options, Text& result);
    int Root(CWords& args, COptions& options, Text& result);
    int AddNode(CWords& args, COptions& options, Text& result);
    int DocType(CWords& args, COptions& options, Text& result);
    int Validate(CWords& args, COptions& options, Text& result);
    int ExtractFile(CWords& args, COptions& options, Text& result);
    int ExtractTable(CWords& args, COptions& options, Text& result);
    int Sort(CWords& args, COptions& options, Text& result);
    int Find(CWords& args, COptions& options, Text& result);
    int Next(CWords& args, COptions& options, Text& result);
    int Load(CWords& args, COptions& options, Text& result);
    int Save(CWords& args, COptions& options, Text& result);
    int List(CWords& args, COptions& options, Text& result);

    // Stores the cursor under `name` ("P#n" for an empty name or "*").
    Text StorePosition(TextView name);
    // The `ID` path of the current element; 289 when an element on the way has none.
    int FormatIref(Text& path);
    // Goes to the element of `path`; 290 leaves the cursor as it was.
    int FindIref(TextView path);

    CXMLDoc& Doc() { return m_doc; }
    const CXDTSchema* Schema() const { return m_schema.get(); }
    const std::string& Path() const { return m_path; }
    // Marks `element`'s XMLSort as "#unsorted" when it is sorted.
    void MarkUnsorted(int element);

private:
    // Reads the schema from the document type after a load or a change.
    void ReadSchema();
    void ReadPositionMap();
    void WritePositionMap();
    SXMLCursor* FindPosition(TextView name);
    int SearchFrom(int start, bool first);

    CXMLDoc m_doc;
    std::unique_ptr<CXDTSchema> m_schema;
    std::string m_path;
    bool m_extended = false;
    int m_nPositions = 0;
    CShell* m_pShell = nullptr;
    // The last FIND, for NEXT.
    Text m_findTag, m_findAttribute, m_findValue;
    bool m_findHasValue = false;
    COptions m_findOptions;
    bool m_findActive = false;
};

// The commands IREF and POSITION of an XML file. `args` are the words behind
// the file's name.
int XmlIref(CXMLFileState& state, CWords& args, COptions& options, Text& result);
int XmlPosition(CXMLFileState& state, CWords& args, COptions& options, Text& result);
