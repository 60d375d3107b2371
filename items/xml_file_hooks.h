// The bond between the FILE item and the XML document code: the hooks that
// NEW FILE /X, SET and f[!...] of an XML file go through, and the state of an
// XML file for the commands IREF and POSITION.
#pragma once

class CShellFile;
class CXMLFileState;

// Installs the hooks of XML files in the file item (once, at start-up).
void RegisterXmlFiles();
// The XML state of a file item; null when the file is no loaded XML file.
CXMLFileState* XmlFileState(CShellFile& file);
// The commands IREF and POSITION.
void RegisterXmlCommands();
