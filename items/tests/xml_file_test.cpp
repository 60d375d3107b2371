#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>

#include "items/xml_file.h"

namespace {

class XMLFileTest : public testing::Test {
protected:
    void SetUp() override {
        char dir[] = "/tmp/kvo_xml_XXXXXX";
        ASSERT_NE(mkdtemp(dir), nullptr);
        m_dir = dir;
    }
    void TearDown() override {
        const std::string command = "rm -rf '" + m_dir + "'";
        ASSERT_EQ(std::system(command.c_str()), 0);
    }

    std::string Write(const std::string& name, const std::string& bytes) {
        const std::string path = m_dir + "/" + name;
        std::ofstream(path, std::ios::binary) << bytes;
        return path;
    }
    static std::string Read(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        std::stringstream s;
        s << in.rdbuf();
        return s.str();
    }

    // SET f <keyword> <words...> with options written as "S", "R" etc.
    int Set(const wchar_t* keyword, std::vector<Text> words = {}, const wchar_t* letters = L"") {
        CWords args;
        for (Text& w : words) args.push_back(SWord{SWord::Plain, std::move(w)});
        COptions options;
        for (const wchar_t* l = letters; *l; ++l) options.push_back(SOption{*l, Text()});
        m_result.clear();
        return m_state.Set(keyword, args, options, m_result);
    }
    Text Status(std::vector<Text> words) {
        CWords args;
        for (Text& w : words) args.push_back(SWord{SWord::Plain, std::move(w)});
        Text out;
        EXPECT_EQ(m_state.Status(args, out), 0);
        return out;
    }
    int Iref(const wchar_t* path, const wchar_t* letters = L"") {
        CWords args;
        if (path) args.push_back(SWord{SWord::Plain, path});
        COptions options;
        for (const wchar_t* l = letters; *l; ++l) options.push_back(SOption{*l, Text()});
        m_result.clear();
        return XmlIref(m_state, args, options, m_result);
    }
    Text Tag() { return m_state.Doc().Tag(m_state.Doc().Current()); }

    std::string m_dir;
    CXMLFileState m_state;
    Text m_result;
};

const char kTree[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
                     "<!-- takes -->\r\n"
                     "<meta ID=\"m\">\r\n"
                     "  <seg ID=\"a\" start=\"3\"><word ID=\"w1\" v=\"Hallo\"/></seg>\r\n"
                     "  <seg ID=\"b\" start=\"1\"><word ID=\"w2\" v=\"hallo\"/><word v=\"x\"/></seg>\r\n"
                     "  <seg ID=\"c\" start=\"2\"/>\r\n"
                     "</meta>\r\n";

TEST_F(XMLFileTest, LoadAndSaveLeaveAnUntouchedFileAsItWas) {
    const std::string path = Write("tree.xml", kTree);
    ASSERT_EQ(m_state.Open(path), 0);
    EXPECT_EQ(Set(L"SAVE"), 0);
    EXPECT_EQ(Read(path), kTree);
    // A broken file fails the load; a missing one is a new, empty document.
    EXPECT_EQ(m_state.Open(Write("bad.xml", "<a><b></a>")), 282);
    EXPECT_EQ(m_state.Open(m_dir + "/new.xml"), 0);
    EXPECT_EQ(Set(L"ADDELEMENT", {L"root"}), 0);
    EXPECT_EQ(Set(L"SAVE"), 0);
    EXPECT_EQ(Read(m_dir + "/new.xml"), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<root/>\r\n");
    // 282 has no quiet twin: /S changes nothing.
    EXPECT_EQ(Set(L"LOAD", {FromUtf8(m_dir + "/missing.xml")}, L"S"), 282);
    EXPECT_EQ(Set(L"LOAD", {Text(L"/nonexistent/x.xml")}), 282);
    EXPECT_EQ(Set(L"SAVE", {Text(L"/nonexistent/x.xml")}), 283);
    EXPECT_EQ(Set(L"NOSUCHWORD"), 64);
}

TEST_F(XMLFileTest, IrefFindsByIdPathAndLeavesTheCursorOnFailure) {
    ASSERT_EQ(m_state.Open(Write("tree.xml", kTree)), 0);
    ASSERT_EQ(Iref(L"/m/b/w2"), 0);
    EXPECT_EQ(Tag(), L"word");
    const SXMLCursor before = m_state.Doc().GetCursor();
    EXPECT_EQ(Iref(L"/m/zz/w2"), 290);
    EXPECT_EQ(m_state.Doc().GetCursor(), before);
    EXPECT_EQ(Iref(L"/m/b/w1"), 290); // w1 is under a, not b
    EXPECT_EQ(m_state.Doc().GetCursor(), before);
    EXPECT_EQ(Iref(L"m"), 290);
    EXPECT_EQ(Iref(nullptr), 0);
    EXPECT_EQ(m_result, L"/m/b/w2");
    // The ID-less word cannot be named.
    ASSERT_EQ(Set(L"GOTO", {}, L"N"), 0);
    EXPECT_EQ(Iref(nullptr), 289);
    EXPECT_EQ(Iref(nullptr, L"S"), 322);
}

TEST_F(XMLFileTest, PositionsStoreRestoreAndFailOnUnknownNames) {
    ASSERT_EQ(m_state.Open(Write("tree.xml", kTree)), 0);
    ASSERT_EQ(Iref(L"/m/a"), 0);
    EXPECT_EQ(Set(L"POSITION", {L"here"}), 0);
    EXPECT_EQ(m_result, L"here");
    EXPECT_EQ(Set(L"POSITION", {}, L"E"), 0);
    EXPECT_EQ(m_result, L"P#1");
    CWords none;
    COptions noOptions;
    Text name;
    EXPECT_EQ(XmlPosition(m_state, none, noOptions, name), 0);
    EXPECT_EQ(name, L"P#2");
    EXPECT_EQ(Set(L"POSITION"), 6);

    ASSERT_EQ(Iref(L"/m/c"), 0);
    EXPECT_EQ(Set(L"POSITION", {L"nowhere"}, L"G"), 286);
    EXPECT_EQ(Set(L"POSITION", {L"nowhere"}, L"R"), 285);
    EXPECT_EQ(Set(L"POSITION", {L"nowhere"}, L"D"), 284);
    EXPECT_EQ(Set(L"POSITION", {L"nowhere"}, L"DS"), 307);
    EXPECT_EQ(Tag(), L"seg");
    EXPECT_EQ(Set(L"POSITION", {L"HERE"}, L"G"), 0); // names without case
    Text id;
    m_state.Doc().GetAttribute(L"ID", id);
    EXPECT_EQ(id, L"a");
    EXPECT_EQ(Set(L"POSITION", {L"here"}, L"R"), 0);
    EXPECT_EQ(Set(L"POSITION", {L"here"}, L"R"), 285); // restoring uses it up
    // A position on a removed element cannot be restored.
    EXPECT_EQ(Set(L"POSITION", {L"gone"}), 0);
    EXPECT_EQ(Set(L"DELETEELEMENT"), 0);
    EXPECT_EQ(Set(L"POSITION", {L"gone"}, L"G"), 286);
}

TEST_F(XMLFileTest, SavedPositionsBecomePosmapAndComeBackWithExtendedPositions) {
    const std::string path = Write("tree.xml", kTree);
    CXMLFileState extended(true);
    ASSERT_EQ(extended.Open(path), 0);
    ASSERT_EQ(extended.FindIref(L"/m/b"), 0);
    extended.StorePosition(L"p1");
    extended.StorePosition(L"p2");
    CWords args;
    COptions options;
    Text result;
    ASSERT_EQ(extended.Set(L"SAVE", args, options, result), 0);
    const std::string saved = Read(path);
    EXPECT_NE(saved.find("<seg ID=\"b\" start=\"1\" #posmap=\"p1,p2\">"), std::string::npos) << saved;

    CXMLFileState again(true);
    ASSERT_EQ(again.Open(path), 0);
    CWords words{SWord{SWord::Plain, L"p2"}};
    COptions go{SOption{L'G', Text()}};
    ASSERT_EQ(again.Set(L"POSITION", words, go, result), 0);
    Text id;
    again.Doc().GetAttribute(L"ID", id);
    EXPECT_EQ(id, L"b");
    // Saving again does not repeat the names.
    ASSERT_EQ(again.Set(L"SAVE", args, options, result), 0);
    EXPECT_EQ(Read(path), saved);
}

TEST_F(XMLFileTest, CommandsNeedAPosition) {
    ASSERT_EQ(m_state.Open(Write("tree.xml", kTree)), 0);
    EXPECT_EQ(Set(L"SETATTRIBUTE", {L"a", L"1"}), 132);
    EXPECT_EQ(Set(L"SETATTRIBUTE", {L"a", L"1"}, L"S"), 399);
    EXPECT_EQ(Set(L"GETDATA"), 132);
    EXPECT_EQ(Set(L"SETDATA", {L"x"}), 132);
    EXPECT_EQ(Set(L"DELETEELEMENT"), 132);
    EXPECT_EQ(Set(L"ADDELEMENT", {L"x"}, L"F"), 132);
    EXPECT_EQ(Set(L"SORT"), 145);
}

TEST_F(XMLFileTest, EditsThroughCommandsKeepTheRestOfTheFile) {
    const std::string path = Write("tree.xml", kTree);
    ASSERT_EQ(m_state.Open(path), 0);
    ASSERT_EQ(Set(L"ROOT"), 0);
    EXPECT_EQ(m_result, L"meta");
    EXPECT_EQ(Set(L"GOTO", {L"seg"}, L"I"), 0);
    EXPECT_EQ(Set(L"GOTO", {}, L"L"), 0);
    EXPECT_EQ(Set(L"SETATTRIBUTE", {L"start", L"7", L"end", L"9"}), 0);
    EXPECT_EQ(Set(L"SETATTRIBUTE", {L"1bad", L"9"}), 319);
    EXPECT_EQ(Set(L"SETATTRIBUTE", {L"none", L"1"}, L"F"), 131);
    EXPECT_EQ(Set(L"SETATTRIBUTE", {L"start", L"8"}, L"Y"), 0); // present: left alone
    EXPECT_EQ(Set(L"SETATTRIBUTE", {L"kind", L"root"}, L"P"), 0);
    EXPECT_EQ(Set(L"SETDATA", {L"a", L"<b>"}), 0);
    EXPECT_EQ(Set(L"SETDATA", {L"x]]>"}, L"C"), 134);
    EXPECT_EQ(Set(L"GETDATA"), 0);
    EXPECT_EQ(m_result, L"a <b>");
    EXPECT_EQ(Set(L"SETDATA", {L"&amp;c"}, L"NV"), 0);
    EXPECT_EQ(Set(L"GETDATA"), 0);
    EXPECT_EQ(m_result, L"a <b>&c");
    EXPECT_EQ(Set(L"GETDATA", {L"end"}, L"N"), 0);
    EXPECT_EQ(m_result, L"9");
    EXPECT_EQ(Set(L"GETDATA", {L"none"}), 135);
    EXPECT_EQ(Set(L"GETDATA", {L"none"}, L"V"), 0);
    EXPECT_EQ(Set(L"GETDATA", {}, L"N"), 135);
    EXPECT_EQ(Set(L"ADDELEMENT", {L"note", L"n1"}, L"L"), 0);
    EXPECT_EQ(Set(L"ADDNODE", {L"COMMENT", L"checked"}, L"B"), 0);
    EXPECT_EQ(Set(L"ADDNODE", {L"TEXT", L"<x>"}, L"R"), 288);
    EXPECT_EQ(Set(L"ADDNODE", {L"BOGUS", L"x"}), 64);
    EXPECT_EQ(Set(L"ADDELEMENT", {L"bad tag"}), 127);
    EXPECT_EQ(Set(L"ROOT", {L"ID"}, L"D"), 0);
    EXPECT_EQ(m_result, L"m");
    EXPECT_EQ(Set(L"ROOT", {L"none"}, L"D"), 138);
    EXPECT_EQ(Set(L"SAVE"), 0);
    EXPECT_EQ(Read(path), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
                          "<!-- takes -->\r\n"
                          "<meta ID=\"m\" kind=\"root\">\r\n"
                          "  <seg ID=\"a\" start=\"3\"><word ID=\"w1\" v=\"Hallo\"/></seg>\r\n"
                          "  <seg ID=\"b\" start=\"1\"><word ID=\"w2\" v=\"hallo\"/><word v=\"x\"/></seg>\r\n"
                          "  <seg ID=\"c\" start=\"7\" end=\"9\">a &lt;b&gt;&amp;c<!--checked-->\r\n"
                          "<note>n1</note>\r\n</seg>\r\n"
                          "</meta>\r\n");
}

TEST_F(XMLFileTest, GotoWalksTheLevels) {
    ASSERT_EQ(m_state.Open(Write("tree.xml", kTree)), 0);
    EXPECT_EQ(Set(L"GOTO", {}, L"O"), 137);
    EXPECT_EQ(Set(L"GOTO"), 0);
    EXPECT_EQ(m_result, L"meta");
    EXPECT_EQ(Set(L"GOTO"), 136);
    EXPECT_EQ(Set(L"GOTO", {}, L"I"), 0);
    EXPECT_EQ(Set(L"GOTO"), 0);
    EXPECT_EQ(Status({L"!XTAG"}), L"seg");
    EXPECT_EQ(Status({L"XPARENTPATH"}), L"/meta");
    EXPECT_EQ(Set(L"GOTO", {L"nothing"}, L"I"), 136);
    EXPECT_EQ(Status({L"XTAG"}), L"seg"); // a failed step stays
    EXPECT_EQ(Set(L"GOTO", {}, L"O"), 0);
    EXPECT_EQ(m_result, L"meta");
}

TEST_F(XMLFileTest, FindAndNextFollowDocumentOrder) {
    ASSERT_EQ(m_state.Open(Write("tree.xml", kTree)), 0);
    EXPECT_EQ(Set(L"FIND", {L"word", L"v", L"hallo"}), 0);
    Text id;
    m_state.Doc().GetAttribute(L"ID", id);
    EXPECT_EQ(id, L"w2"); // exact case first
    EXPECT_EQ(Set(L"NEXT"), 297);
    EXPECT_EQ(Set(L"FIND", {L"word", L"v", L"hallo"}, L"RI"), 0);
    m_state.Doc().GetAttribute(L"ID", id);
    EXPECT_EQ(id, L"w1");
    EXPECT_EQ(Set(L"NEXT"), 0);
    m_state.Doc().GetAttribute(L"ID", id);
    EXPECT_EQ(id, L"w2");
    EXPECT_EQ(Set(L"FIND", {L"*", L"ID", L"a"}, L"Y"), 0); // wraps round to the top
    EXPECT_EQ(Tag(), L"seg");
    EXPECT_EQ(Set(L"FIND", {L"word"}, L"N"), 297); // no word among the following segs
    EXPECT_EQ(Set(L"FIND", {L"word"}, L"O"), 0);   // inside seg a
    EXPECT_EQ(Set(L"NEXT"), 297);                  // and only there
    EXPECT_EQ(Set(L"FIND", {L"seg", L"start"}, L"RS"), 0);
    EXPECT_EQ(Set(L"FIND", {L"none"}), 297);
    EXPECT_EQ(Tag(), L"seg"); // a failed search stays
}

TEST_F(XMLFileTest, SortKeepsItsKeysAndTheLayout) {
    const std::string path = Write("tree.xml", kTree);
    ASSERT_EQ(m_state.Open(path), 0);
    ASSERT_EQ(Set(L"ROOT"), 0);
    EXPECT_EQ(Set(L"SORT"), 144);
    EXPECT_EQ(Set(L"SORT", {L"start"}), 0);
    EXPECT_EQ(Status({L"XCHILDREN"}), L"seg seg seg");
    auto ids = [&]() {
        Text out;
        CXMLDoc& doc = m_state.Doc();
        for (int c = doc.Record(doc.Root()).firstChild; c; c = doc.Record(c).nextSibling) {
            Text id;
            doc.GetAttribute(L"ID", id, c);
            out += id;
        }
        return out;
    };
    EXPECT_EQ(ids(), L"bca");
    EXPECT_EQ(Set(L"SORT", {L"-ID"}), 0);
    EXPECT_EQ(ids(), L"cba");
    Text keys;
    m_state.Doc().GetAttribute(L"XMLSort", keys);
    EXPECT_EQ(keys, L"sort -ID");
    EXPECT_EQ(Set(L"ADDELEMENT", {L"seg"}, L"L"), 0);
    EXPECT_EQ(Set(L"SETATTRIBUTE", {L"ID", L"d"}), 0);
    m_state.Doc().GetAttribute(L"XMLSort", keys, m_state.Doc().Root());
    EXPECT_EQ(keys, L"sort -ID #unsorted");
    ASSERT_EQ(Set(L"ROOT"), 0);
    EXPECT_EQ(Set(L"SORT"), 0); // the kept keys
    EXPECT_EQ(ids(), L"dcba");
    m_state.Doc().GetAttribute(L"XMLSort", keys);
    EXPECT_EQ(keys, L"sort -ID");
    EXPECT_EQ(Set(L"SAVE"), 0);
    EXPECT_EQ(Read(path), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
                          "<!-- takes -->\r\n"
                          "<meta ID=\"m\" XMLSort=\"sort -ID\">\r\n"
                          "  <seg ID=\"d\"/>\r\n"
                          "  <seg ID=\"c\" start=\"2\"/>\r\n"
                          "  <seg ID=\"b\" start=\"1\"><word ID=\"w2\" v=\"hallo\"/><word v=\"x\"/></seg>\r\n"
                          "<seg ID=\"a\" start=\"3\"><word ID=\"w1\" v=\"Hallo\"/></seg>\r\n"
                          "</meta>\r\n");
}

TEST_F(XMLFileTest, SubDocumentsInAndOut) {
    ASSERT_EQ(m_state.Open(Write("tree.xml", kTree)), 0);
    const std::string part = Write("part.xml", "<?xml version=\"1.0\"?>\r\n<extra ID=\"e\"><k/></extra>\r\n");
    ASSERT_EQ(Iref(L"/m/c"), 0);
    EXPECT_EQ(Set(L"ADDFILE", {FromUtf8(part)}, L"C"), 0);
    EXPECT_EQ(Tag(), L"extra");
    EXPECT_EQ(Iref(nullptr), 0);
    EXPECT_EQ(m_result, L"/m/c/e");
    EXPECT_EQ(Set(L"ADDFILE", {L"<x/>"}, L"NI"), 0);
    EXPECT_EQ(Tag(), L"extra"); // kept
    EXPECT_EQ(Set(L"ADDFILE", {L"<x>"}, L"N"), 287);
    EXPECT_EQ(Set(L"ADDFILE", {FromUtf8(m_dir + "/none.xml")}), 287);
    EXPECT_EQ(Set(L"ADDFILE", {FromUtf8(m_dir + "/none.xml")}, L"S"), 395);
    EXPECT_EQ(Set(L"ADDFILE", {L"<y/>"}, L"ND"), 0);
    EXPECT_EQ(Tag(), L"y");
    EXPECT_EQ(Status({L"XELEMENTS"}), L"y x");
    ASSERT_EQ(Set(L"GOTO", {}, L"O"), 0);
    const std::string out = m_dir + "/out.xml";
    EXPECT_EQ(Set(L"EXTRACTFILE", {FromUtf8(out)}), 0);
    EXPECT_EQ(Read(out), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
                         "<seg ID=\"c\" start=\"2\">\r\n<y/>\r\n<x/>\r\n</seg>\r\n");
}

TEST_F(XMLFileTest, StatusDescribesTheCursor) {
    ASSERT_EQ(m_state.Open(Write("tree.xml", kTree)), 0);
    EXPECT_EQ(Status({L"XROOT"}), L"meta");
    EXPECT_EQ(Status({L"XALL"}), L"7");
    EXPECT_EQ(Status({L"XTAG"}), L"");
    ASSERT_EQ(Iref(L"/m/b"), 0);
    EXPECT_EQ(Status({L"XPARENT"}), L"meta");
    EXPECT_EQ(Status({L"XATTRIBUTES"}), L"ID start");
    EXPECT_EQ(Status({L"XATTRIBUTE", L"start"}), L"1");
    EXPECT_EQ(Status({L"XEMPTY"}), L"0");
    EXPECT_EQ(Status({L"XCHILDS"}), L"2");
    EXPECT_EQ(Status({L"XCHILDREN"}), L"word word");
    const Text segment = L"<seg ID=\"b\" start=\"1\"><word ID=\"w2\" v=\"hallo\"/><word v=\"x\"/></seg>";
    EXPECT_EQ(Status({L"XSIZE"}), IntText(static_cast<long long>(segment.size())));
    EXPECT_EQ(Status({L"XNODETYPE"}), L"ELEMENT");
    EXPECT_EQ(Status({L"XCDATA"}), L"0");
    m_state.Doc().GoStart();
    ASSERT_TRUE(m_state.Doc().NextNode(XML_COMMENT));
    EXPECT_EQ(Status({L"XNODETYPE"}), L"COMMENT");
    EXPECT_EQ(Status({L"XDATA"}), L" takes ");
    EXPECT_EQ(Status({L"XDTNAME"}), L""); // no schema
    CWords unknown{SWord{SWord::Plain, L"XNOPE"}};
    Text out;
    EXPECT_EQ(m_state.Status(unknown, out), 64);
}

TEST_F(XMLFileTest, TableKeywordsWithoutAShellFindNoTable) {
    ASSERT_EQ(m_state.Open(Write("tree.xml", kTree)), 0);
    ASSERT_EQ(Set(L"ROOT"), 0);
    for (const wchar_t* keyword : {L"ADDTABLE", L"EXTRACTTABLE", L"LIST"}) {
        EXPECT_EQ(Set(keyword, {L"t"}), 379) << ToUtf8(keyword);
        EXPECT_EQ(Set(keyword, {L"t"}, L"S"), 380) << ToUtf8(keyword);
        EXPECT_EQ(Set(keyword), 2) << ToUtf8(keyword);
    }
}

} // namespace
