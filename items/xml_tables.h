// Tables in and out of XML elements: ADDTABLE, EXTRACTTABLE and LIST of XML
// files. They live apart from the rest of the XML file because they need the
// table item.
#pragma once

#include "base/text.h"
#include "shell/words.h"

class CShellTable;
class CXMLDoc;
class CXMLFileState;

// The table into an element: a new one `tag` at `place` (EXMLPlace), or the current
// element when `tag` is null. Options as ADDTABLE takes them (/C, /T). A code.
int TableToElement(CXMLDoc& doc, CShellTable& table, const Text* tag, int place, const COptions& options);
// The current element's numbers or lines appended to the table. A code.
int ElementToTable(CXMLDoc& doc, CShellTable& table, const COptions& options);

int XmlAddTable(CXMLFileState& state, CWords& args, COptions& options, Text& result);
int XmlExtractTable(CXMLFileState& state, CWords& args, COptions& options, Text& result);
int XmlListTable(CXMLFileState& state, CWords& args, COptions& options, Text& result);
