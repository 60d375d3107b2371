// CXMLDoc: an XML document kept as it stands on disk. The text is one wide
// string; a table of eight-word records holds, for each element, where its
// tags are in that string. Nothing is copied out of the text: an attribute is
// read by looking into its tag, and every change edits the string and moves
// the places behind the edit, so comments, layout and entity spellings survive
// a load and a save untouched.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "base/text.h"

// Node types, as bits, so that a step over nodes can take a mask.
enum EXMLNode : int {
    XML_ELEMENT = 1,
    XML_TEXT = 2,
    XML_WHITESPACE = 4,
    XML_CDATA = 8,
    XML_PROC = 16,
    XML_COMMENT = 32,
    XML_DOCTYPE = 64,
};

struct SXMLElement {
    int32_t tagStart = 0;   // the "<" of the start tag
    int32_t tagEnd = 0;     // the ">" of the start tag
    int32_t closeStart = 0; // the "<" of the end tag; the "/" of an empty element
    int32_t closeEnd = 0;   // the ">" of the end tag; tagEnd for an empty element
    int32_t spare = 0;      // free for the file item; -1 marks a removed record
    int32_t parent = 0;
    int32_t firstChild = 0;
    int32_t nextSibling = 0;
};

// Where the document is looked at. `element` 0 means no current element: the
// cursor stands before the first child of `parent`. A node without a record
// (text, CDATA, comment, ...) is given by type, start and length; `element`
// is then the element in front of it in the same parent (or 0). `child` is
// not used by the document: it is kept with the cursor for its callers.
struct SXMLCursor {
    int32_t parent = 0;
    int32_t element = 0;
    int32_t child = 0;
    int32_t nodeType = 0;
    int32_t nodeStart = 0;
    int32_t nodeLength = 0;
    bool operator==(const SXMLCursor&) const = default;
};

// One node as the node scanner finds it.
struct SXMLNode {
    int type = 0; // 0: none (end of text, an end tag, or an unterminated node)
    size_t start = 0;
    size_t end = 0; // one behind the last character
};

// How a new node is placed against the cursor.
enum EXMLPlace : int {
    XML_BEHIND = 0, // behind the current element, or last in the parent
    XML_BEFORE = 1, // in front of the current element, or first in the parent
    XML_FIRST_CHILD = 2,
    XML_LAST_CHILD = 3,
};

class CXMLDoc {
public:
    CXMLDoc();

    // --- Loading and saving ------------------------------------------------------
    // Parses `text` as the new document. False with LastMessage() on a failure;
    // the text is kept anyway so that it can be looked at.
    bool Parse(Text text);
    // Decodes file bytes (byte order mark, then the encoding declaration, else
    // windows-1252) and parses them. The encoding is remembered for saving.
    bool LoadBytes(const void* bytes, size_t length);
    bool LoadFile(const std::string& path);
    // The document as bytes in the encoding it was loaded with, or UTF-8 with a
    // declaration in front when its first processing instruction names neither
    // UTF-8 nor windows-1252 (UTF-16 documents loaded with a mark stay UTF-16).
    // The cursor is kept.
    void SaveBytes(std::string& out);
    bool SaveFile(const std::string& path);
    // An empty document (no text, no records).
    void Clear();

    const Text& GetText() const { return m_text; }
    const Text& LastMessage() const { return m_message; }
    const Text& Encoding() const { return m_encoding; }

    // --- Records ------------------------------------------------------------------
    int Root() const;
    const SXMLElement& Record(int index) const { return m_records[index]; }
    bool IsLive(int index) const;
    int RecordCount() const { return static_cast<int>(m_count); }
    Text Tag(int element) const;
    // The text of an element from its "<" to its last ">".
    Text ElementText(int element) const;
    int ChildCount(int element) const;

    // --- Cursor --------------------------------------------------------------------
    SXMLCursor GetCursor() const;
    void SetCursor(const SXMLCursor& cursor);
    // False when the cursor names a removed record.
    bool CursorValid(const SXMLCursor& cursor) const;
    void GoStart();
    // Next element of the level (the first when there is no current one), with an
    // optional tag filter (no case). False leaves the cursor.
    bool NextElement(TextView tag = {});
    bool FirstElement(TextView tag = {});
    bool LastElement(TextView tag = {});
    // Steps over the nodes of the level in text order, elements included; mask
    // of EXMLNode bits (0: all).
    bool NextNode(int mask = 0);
    // Into the current element (no current element inside) and out again (the
    // parent becomes current). False at the edges.
    bool Enter();
    bool Leave();
    // Makes `element` current within its parent.
    void GoElement(int element);
    int Current() const;

    // --- Reading ---------------------------------------------------------------------
    // Attributes of an element (0: the current one). Values come back unescaped.
    bool GetAttribute(TextView name, Text& value, int element = 0) const;
    std::vector<Text> AttributeNames(int element = 0) const;
    // The direct text and CDATA of the element, unescaped; whitespace between
    // child elements does not count.
    bool GetData(Text& data, int element = 0) const;
    bool HasCData(int element = 0) const;
    // The node the cursor stands on: its type, name for macros, text.
    int NodeType() const;
    Text NodeName() const;
    Text NodeText() const;

    // --- Changing ----------------------------------------------------------------------
    bool SetAttribute(TextView name, TextView value, int element = 0);
    bool RemoveAttribute(TextView name, int element = 0);
    // Replaces the element's direct text (its child elements stay); `cdata`
    // writes a CDATA section, refused when the data holds "]]>".
    bool SetData(TextView data, bool cdata, int element = 0);
    // "<tag/>" or "<tag>data</tag>", then CR LF; the new element becomes current.
    bool AddElement(TextView tag, const Text* data, int place);
    // Text (escaped), CDATA, processing instruction, comment or document type.
    bool AddNode(int type, TextView text, int place);
    // Removes the current element with its line break; the element in front of it
    // becomes current (none when it was the first).
    bool RemoveElement();
    // Removes the children and text of the current element, keeping its tags.
    bool RemoveContent();
    // The current element as text, and a whole sub-document (its root element) put in.
    bool ExtractSub(Text& out) const;
    bool InsertSub(TextView xml, int place);
    // Reorders the child elements of `element` by `order` (indices into the
    // current child list); the layout between them stays where it was.
    bool ReorderChildren(int element, const std::vector<int>& order);
    // The document type node: its text, and a new one put in place of the old one
    // (or in front of the root element). An empty text removes it.
    bool GetDocType(Text& text) const;
    bool SetDocType(TextView text);

    // --- Named positions ---------------------------------------------------------------
    std::map<Text, SXMLCursor>& Positions() { return m_positions; }

    // The document's lock. Public operations take it themselves; callers that need a
    // sequence of them to stay together take it around the sequence.
    std::recursive_mutex& Section() const { return m_cs; }

    static Text Escape(TextView text, bool attribute);
    static Text Unescape(TextView text);
    // The node starting at `i` (see SXMLNode).
    SXMLNode ScanNode(size_t i) const;

private:
    using Lock = std::lock_guard<std::recursive_mutex>;

    struct SToken {
        size_t start = 0;
        size_t end = 0; // one behind; for a quoted token behind the closing quote
        bool quoted = false;
        bool found = false;
    };
    SToken NextToken(size_t& i, size_t limit) const;
    bool IsSpace(wchar_t c) const { return c == L' ' || c == L'\t' || c == L'\n' || c == L'\r'; }

    int NewRecord();
    // The recursive element parser; 0 at an end tag or after a failure (m_failed).
    int ParseElement(int parent, size_t& i);
    bool ParseChildren(int element, size_t& i);
    bool Fail(const Text& message);

    // Edits of the text that move every place at or behind `at`.
    void InsertText(size_t at, TextView text);
    void EraseText(size_t at, size_t length);
    void Shift(size_t at, long delta);
    void Kill(int element);
    void Unlink(int element);
    void LinkChild(int parent, int element);
    int PreviousSibling(int element) const;
    // Where a node goes for `place`; the record that becomes its parent.
    bool InsertPoint(int place, size_t& at, int& parent);
    // Gives an empty element a content part and an end tag.
    void OpenOut(int element);
    // The value of attribute `name` in the tag: range of the value between its quotes.
    bool FindAttribute(int element, TextView name, size_t& nameStart, size_t& valueStart, size_t& valueEnd,
                       bool& quoted) const;
    size_t AttributeEnd(int element) const;
    int Resolve(int element) const;

    mutable std::recursive_mutex m_cs;
    Text m_text;
    Text m_message;
    bool m_failed = false;
    std::vector<SXMLElement> m_records;
    size_t m_count = 1;
    SXMLCursor m_cursor;
    std::map<Text, SXMLCursor> m_positions;
    Text m_encoding = L"windows-1252";
    std::string m_bom;
};
