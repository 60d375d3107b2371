#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "items/xml_doc.h"

namespace {

// Every live record must still point at its own tags after any edit: this is
// what catches a place that was not moved.
void ExpectRecordsConsistent(const CXMLDoc& doc) {
    const Text& text = doc.GetText();
    for (int r = 1; r < doc.RecordCount(); ++r) {
        if (!doc.IsLive(r)) continue;
        const SXMLElement& e = doc.Record(r);
        SCOPED_TRACE(testing::Message() << "record " << r);
        ASSERT_LT(static_cast<size_t>(e.closeEnd), text.size());
        EXPECT_EQ(text[e.tagStart], L'<');
        EXPECT_EQ(text[e.tagEnd], L'>');
        EXPECT_EQ(text[e.closeEnd], L'>');
        const Text tag = doc.Tag(r);
        if (e.closeEnd == e.tagEnd) {
            EXPECT_EQ(text[e.closeStart], L'/');
        } else {
            EXPECT_EQ(text.substr(e.closeStart, 2 + tag.size()), L"</" + tag);
        }
        for (int c = e.firstChild; c; c = doc.Record(c).nextSibling) {
            EXPECT_EQ(doc.Record(c).parent, r);
            EXPECT_GT(doc.Record(c).tagStart, e.tagEnd);
            EXPECT_LT(doc.Record(c).closeEnd, e.closeStart);
            const int next = doc.Record(c).nextSibling;
            if (next) {
                EXPECT_LT(doc.Record(c).closeEnd, doc.Record(next).tagStart);
            }
        }
    }
}

std::string RoundTrip(const std::string& bytes) {
    CXMLDoc doc;
    EXPECT_TRUE(doc.LoadBytes(bytes.data(), bytes.size())) << ToUtf8(doc.LastMessage());
    std::string out;
    doc.SaveBytes(out);
    return out;
}

std::string Utf16(const std::u16string& text, bool bigEndian) {
    std::string out = bigEndian ? "\xFE\xFF" : "\xFF\xFE";
    for (char16_t c : text) {
        const char hi = static_cast<char>(c >> 8), lo = static_cast<char>(c & 0xFF);
        out += bigEndian ? hi : lo;
        out += bigEndian ? lo : hi;
    }
    return out;
}

const char kMetadata[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
                         "<!DOCTYPE meta [\r\n"
                         "  <!ENTITY who \"me\">\r\n"
                         "  root meta\r\n"
                         "]>\r\n"
                         "<!-- recorded in the field, \"take 2\" -->\n"
                         "<meta version='1'  kind = \"a &amp; b\">\n"
                         "\t<?render quality=\"high\"?>\n"
                         "    <segment ID=\"s1\" start=\"0.5\"><![CDATA[<raw> & ]]]></segment>\n"
                         "    <segment ID=\"s2\"/>\n"
                         "    <note>caf\xC3\xA9 &lt;ok&gt;</note>\n"
                         "</meta>\n"
                         "<!-- trailing -->\n";

TEST(XMLDocLoadSave, RealDocumentsSurviveByteForByte) {
    EXPECT_EQ(RoundTrip(kMetadata), kMetadata);
    // UTF-8 with its mark keeps the mark.
    const std::string marked = std::string("\xEF\xBB\xBF") + kMetadata;
    EXPECT_EQ(RoundTrip(marked), marked);
    const std::string ansi =
        "<?xml version=\"1.0\" encoding=\"windows-1252\"?>\r\n<a t=\"\x80 caf\xE9\"/>\r\n";
    EXPECT_EQ(RoundTrip(ansi), ansi);
}

TEST(XMLDocLoadSave, Utf16WithMarkStaysUtf16InItsByteOrder) {
    const std::u16string text = u"<?xml version=\"1.0\" encoding=\"UTF-16\"?>\r\n"
                                u"<!-- \u03C0 -->\r\n<r a=\"\u20AC\">\U0001D11E<![CDATA[x]]></r>\r\n";
    for (bool bigEndian : {false, true}) {
        const std::string bytes = Utf16(text, bigEndian);
        CXMLDoc doc;
        ASSERT_TRUE(doc.LoadBytes(bytes.data(), bytes.size()));
        EXPECT_EQ(doc.Encoding(), L"UTF-16");
        Text value;
        doc.GoElement(doc.Root());
        ASSERT_TRUE(doc.GetAttribute(L"a", value));
        EXPECT_EQ(value, L"\u20AC");
        std::string out;
        doc.SaveBytes(out);
        EXPECT_EQ(out, bytes) << "big endian " << bigEndian;
    }
}

TEST(XMLDocLoadSave, EncodingFollowsMarkThenDeclarationThenWindows1252) {
    CXMLDoc doc;
    const std::string utf8 = "<?xml version='1.0' encoding='utf-8'?><a>\xC3\xA9</a>";
    ASSERT_TRUE(doc.LoadBytes(utf8.data(), utf8.size()));
    Text data;
    doc.GoElement(doc.Root());
    doc.GetData(data);
    EXPECT_EQ(data, L"\u00E9");

    const std::string latin = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a>\xE9</a>";
    ASSERT_TRUE(doc.LoadBytes(latin.data(), latin.size()));
    doc.GoElement(doc.Root());
    doc.GetData(data);
    EXPECT_EQ(data, L"\u00E9");
    // Neither UTF-8 nor windows-1252 named: a UTF-8 declaration goes in front.
    std::string out;
    doc.SaveBytes(out);
    EXPECT_EQ(out, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<?xml version=\"1.0\" "
                   "encoding=\"ISO-8859-1\"?><a>\xC3\xA9</a>");

    const std::string bare = "<a>\x80</a>";
    ASSERT_TRUE(doc.LoadBytes(bare.data(), bare.size()));
    doc.GoElement(doc.Root());
    doc.GetData(data);
    EXPECT_EQ(data, L"\u20AC");

    const std::string utf32("\xFF\xFE\0\0<\0\0\0", 8);
    EXPECT_FALSE(doc.LoadBytes(utf32.data(), utf32.size()));
    EXPECT_EQ(doc.LastMessage(), L"unsupported byte order mark");
}

TEST(XMLDocLoadSave, Windows1252SaveWritesMissingCharactersAsReferences) {
    CXMLDoc doc;
    ASSERT_TRUE(doc.Parse(L"<?xml version=\"1.0\" encoding=\"windows-1252\"?><a/>"));
    doc.GoElement(doc.Root());
    ASSERT_TRUE(doc.SetData(L"\u03C0\u20AC", false));
    std::string out;
    doc.SaveBytes(out);
    EXPECT_EQ(out, "<?xml version=\"1.0\" encoding=\"windows-1252\"?><a>&#960;\x80</a>");
    CXMLDoc back;
    ASSERT_TRUE(back.LoadBytes(out.data(), out.size()));
    Text data;
    back.GoElement(back.Root());
    back.GetData(data);
    EXPECT_EQ(data, L"\u03C0\u20AC");
}

TEST(XMLDocParse, RecordsHoldTheTagPlaces) {
    CXMLDoc doc;
    ASSERT_TRUE(doc.Parse(L"<a/>"));
    const SXMLElement& a = doc.Record(doc.Root());
    EXPECT_EQ(a.tagStart, 0);
    EXPECT_EQ(a.tagEnd, 3);
    EXPECT_EQ(a.closeStart, 2);
    EXPECT_EQ(a.closeEnd, 3);
    EXPECT_EQ(a.firstChild, 0);

    // A ">" inside an attribute value ends the start tag; the rest is content.
    ASSERT_TRUE(doc.Parse(L"<r><a b='>'/></a></r>"));
    const int inner = doc.Record(doc.Root()).firstChild;
    EXPECT_EQ(doc.Record(inner).tagEnd, 9);
    EXPECT_NE(doc.Record(inner).closeEnd, doc.Record(inner).tagEnd);
    doc.GoElement(inner);
    Text data;
    doc.GetData(data);
    EXPECT_EQ(data, L"'/>");

    ASSERT_TRUE(
        doc.Parse(L"<?xml version=\"1.0\"?>\n<!DOCTYPE r [ <!ELEMENT r ANY> ]>\n<r>\n <x/> t <y></y>\n</r>"));
    EXPECT_EQ(doc.ChildCount(doc.Root()), 2);
    ExpectRecordsConsistent(doc);
}

TEST(XMLDocParse, EveryMessageOnBrokenInput) {
    const struct {
        const wchar_t* text;
        const wchar_t* message;
    } cases[] = {
        {L"", L"Element tag not found"},
        {L"just text", L"Element tag not found"},
        {L"<", L"Abrupt end within tag"},
        {L"<   ", L"Abrupt end within tag"},
        {L"<'a'>", L"Tag starts with quote"},
        {L"<!-- never closed", L"Invalid node"},
        {L"<?pi <r/>", L"Invalid node"},
        {L"<r><![CDATA[ x </r>", L"Invalid node"},
        {L"<a b='1'", L"End of tag not found"},
        {L"<a>text", L"End tag of a element not found"},
        {L"<a><b></a>", L"End tag does not correspond to b"},
        {L"<a></ a", L"End tag not completed for element a"},
        {L"<a></a b='x'", L"End tag not completed for element a"},
    };
    for (const auto& c : cases) {
        CXMLDoc doc;
        EXPECT_FALSE(doc.Parse(c.text)) << ToUtf8(c.text);
        EXPECT_EQ(doc.LastMessage(), c.message) << ToUtf8(c.text);
    }
    // "Expecting end tag of element %s" has no input of its own: the child parser
    // returns at an end tag only. Deep nesting is refused, not run into the stack's end.
    Text deep;
    for (int i = 0; i < 5000; ++i) deep += L"<d>";
    CXMLDoc doc;
    EXPECT_FALSE(doc.Parse(deep));
}

TEST(XMLDocParse, EntitiesTurnBackOnReading) {
    EXPECT_EQ(CXMLDoc::Unescape(L"&lt;&gt;&amp;&apos;&quot;&#65;&#x42;&bogus;&"), L"<>&'\"AB&bogus;&");
    EXPECT_EQ(CXMLDoc::Escape(L"<a & 'b' \"c\">", false), L"&lt;a &amp; 'b' \"c\"&gt;");
    EXPECT_EQ(CXMLDoc::Escape(L"<'\">&", true), L"&lt;&apos;&quot;&gt;&amp;");
}

TEST(XMLDocCursor, StepsOverElementsAndNodes) {
    CXMLDoc doc;
    ASSERT_TRUE(doc.Parse(L"<?xml version=\"1.0\"?><!--c--><r>t<a/><!--x--><![CDATA[d]]><b/><?p q?></r>"));
    EXPECT_TRUE(doc.NextElement());
    EXPECT_EQ(doc.Tag(doc.Current()), L"r");
    EXPECT_FALSE(doc.NextElement());
    ASSERT_TRUE(doc.Enter());
    const wchar_t* names[] = {L"#text", L"a", L"#comment", L"#cdata-section", L"b", L"p"};
    for (const wchar_t* name : names) {
        ASSERT_TRUE(doc.NextNode()) << ToUtf8(name);
        EXPECT_EQ(doc.NodeName(), name);
    }
    EXPECT_FALSE(doc.NextNode());
    EXPECT_EQ(doc.NodeText(), L"p q");
    ASSERT_TRUE(doc.LastElement());
    EXPECT_EQ(doc.Tag(doc.Current()), L"b");
    // Any "<![" up to "]]>" is taken as CDATA, also one too short for the full opening.
    CXMLDoc odd;
    ASSERT_TRUE(odd.Parse(L"<r><![x]]><![]]></r>"));
    odd.GoElement(odd.Root());
    Text oddData;
    ASSERT_TRUE(odd.GetData(oddData));
    EXPECT_EQ(oddData, L"x");
    ASSERT_TRUE(odd.Enter());
    ASSERT_TRUE(odd.NextNode());
    ASSERT_TRUE(odd.NextNode());
    EXPECT_EQ(odd.NodeName(), L"#cdata-section");
    EXPECT_EQ(odd.NodeText(), L"");
    ASSERT_TRUE(doc.FirstElement(L"B"));
    EXPECT_EQ(doc.Tag(doc.Current()), L"b");
    ASSERT_TRUE(doc.Leave());
    EXPECT_EQ(doc.Tag(doc.Current()), L"r");
    EXPECT_FALSE(doc.Leave());
    doc.GoStart();
    ASSERT_TRUE(doc.NextNode(XML_COMMENT));
    EXPECT_EQ(doc.NodeText(), L"c");
    ASSERT_TRUE(doc.NextElement());
    EXPECT_EQ(doc.Tag(doc.Current()), L"r");
}

TEST(XMLDocEdit, AttributesChangeInPlaceAndKeepTheRest) {
    CXMLDoc doc;
    const Text before = L"<!-- keep -->\n<r>\n  <a x = 'one' flag y=\"2\"/>\n  <b>text</b>\n</r>\n";
    ASSERT_TRUE(doc.Parse(before));
    doc.GoElement(doc.Record(doc.Root()).firstChild);
    Text value;
    ASSERT_TRUE(doc.GetAttribute(L"x", value));
    EXPECT_EQ(value, L"one");
    EXPECT_EQ(doc.AttributeNames(), (std::vector<Text>{L"x", L"flag", L"y"}));
    ASSERT_TRUE(doc.SetAttribute(L"x", L"a<\"b\""));
    ASSERT_TRUE(doc.SetAttribute(L"flag", L"on"));
    ASSERT_TRUE(doc.SetAttribute(L"z", L"3"));
    ASSERT_TRUE(doc.RemoveAttribute(L"y"));
    EXPECT_FALSE(doc.RemoveAttribute(L"y"));
    EXPECT_FALSE(doc.SetAttribute(L"bad name", L"1"));
    EXPECT_EQ(
        doc.GetText(),
        L"<!-- keep -->\n<r>\n  <a x = 'a&lt;&quot;b&quot;' flag=\"on\" z=\"3\"/>\n  <b>text</b>\n</r>\n");
    ASSERT_TRUE(doc.GetAttribute(L"x", value));
    EXPECT_EQ(value, L"a<\"b\"");
    ExpectRecordsConsistent(doc);
    ASSERT_TRUE(doc.NextElement());
    Text data;
    doc.GetData(data);
    EXPECT_EQ(data, L"text");
}

TEST(XMLDocEdit, ElementsGoWhereTheCursorSays) {
    CXMLDoc doc;
    ASSERT_TRUE(doc.Parse(L"<r>\r\n<a/>\r\n</r>\r\n"));
    doc.GoElement(doc.Record(doc.Root()).firstChild);
    Text data = L"1 < 2";
    ASSERT_TRUE(doc.AddElement(L"b", &data, XML_BEHIND));
    ASSERT_TRUE(doc.AddElement(L"c", nullptr, XML_BEFORE));
    EXPECT_EQ(doc.GetText(), L"<r>\r\n<a/>\r\n<c/>\r\n<b>1 &lt; 2</b>\r\n</r>\r\n");
    // Into an empty element: it is opened out.
    ASSERT_TRUE(doc.AddElement(L"d", nullptr, XML_FIRST_CHILD));
    EXPECT_EQ(doc.GetText(), L"<r>\r\n<a/>\r\n<c>\r\n<d/>\r\n</c>\r\n<b>1 &lt; 2</b>\r\n</r>\r\n");
    ExpectRecordsConsistent(doc);
    // A second root is refused.
    doc.GoElement(doc.Root());
    EXPECT_FALSE(doc.AddElement(L"x", nullptr, XML_BEHIND));
    // A new document gets its root at the end.
    CXMLDoc empty;
    ASSERT_TRUE(empty.AddNode(XML_PROC, L"xml version=\"1.0\" encoding=\"UTF-8\"", XML_BEHIND));
    empty.GoStart();
    ASSERT_TRUE(empty.AddElement(L"root", nullptr, XML_BEHIND));
    ASSERT_TRUE(empty.AddElement(L"kid", nullptr, XML_LAST_CHILD));
    EXPECT_EQ(empty.GetText(),
              L"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<root>\r\n<kid/>\r\n</root>\r\n");
    ExpectRecordsConsistent(empty);
}

TEST(XMLDocEdit, DataNodesAndRemoval) {
    CXMLDoc doc;
    ASSERT_TRUE(doc.Parse(L"<r>\n  <a>old</a>\n  <b/>\n  <c>x<i/>y</c>\n</r>"));
    const int a = doc.Record(doc.Root()).firstChild;
    const int b = doc.Record(a).nextSibling;
    const int c = doc.Record(b).nextSibling;
    doc.GoElement(a);
    EXPECT_FALSE(doc.SetData(L"a]]>b", true));
    ASSERT_TRUE(doc.SetData(L"a]]b", true));
    ASSERT_TRUE(doc.SetData(L"new & more", false, b));
    ASSERT_TRUE(doc.SetData(L"z", false, c));
    EXPECT_EQ(doc.GetText(),
              L"<r>\n  <a><![CDATA[a]]b]]></a>\n  <b>new &amp; more</b>\n  <c>z<i/></c>\n</r>");
    Text data;
    doc.GetData(data);
    EXPECT_EQ(data, L"a]]b");
    EXPECT_TRUE(doc.HasCData());
    ExpectRecordsConsistent(doc);

    doc.GoElement(b);
    EXPECT_FALSE(doc.AddNode(XML_CDATA, L"]]>", XML_BEHIND));
    EXPECT_FALSE(doc.AddNode(XML_COMMENT, L"a--b", XML_BEHIND));
    ASSERT_TRUE(doc.AddNode(XML_COMMENT, L"note", XML_BEHIND));
    EXPECT_EQ(doc.NodeName(), L"#comment");
    ASSERT_TRUE(doc.RemoveElement()); // the comment the cursor stands on
    doc.GoElement(b);
    ASSERT_TRUE(doc.RemoveElement());
    EXPECT_EQ(doc.Current(), a);
    EXPECT_FALSE(doc.IsLive(b));
    // The comment went in behind the indentation of <c> and took it along when removed.
    EXPECT_EQ(doc.GetText(), L"<r>\n  <a><![CDATA[a]]b]]></a>\n<c>z<i/></c>\n</r>");
    doc.GoElement(c);
    ASSERT_TRUE(doc.RemoveContent());
    EXPECT_EQ(doc.GetText(), L"<r>\n  <a><![CDATA[a]]b]]></a>\n<c></c>\n</r>");
    ExpectRecordsConsistent(doc);
}

TEST(XMLDocEdit, SubDocumentsAndReorder) {
    CXMLDoc doc;
    ASSERT_TRUE(doc.Parse(L"<r>\n<k n='2'/>\n<!-- between -->\n<k n='1'><x/></k>\n<k n='3'/>\n</r>"));
    doc.GoElement(doc.Root());
    EXPECT_FALSE(doc.InsertSub(L"<broken>", XML_LAST_CHILD));
    ASSERT_TRUE(doc.InsertSub(L"<?xml version=\"1.0\"?><!-- c --><s a='1'><t/>txt</s>", XML_LAST_CHILD));
    EXPECT_EQ(doc.Tag(doc.Current()), L"s");
    Text sub;
    ASSERT_TRUE(doc.ExtractSub(sub));
    EXPECT_EQ(sub, L"<s a='1'><t/>txt</s>");
    ExpectRecordsConsistent(doc);
    ASSERT_TRUE(doc.ReorderChildren(doc.Root(), {3, 1, 0, 2}));
    EXPECT_EQ(
        doc.GetText(),
        L"<r>\n<s a='1'><t/>txt</s>\n<!-- between -->\n<k n='1'><x/></k>\n<k n='2'/>\n<k n='3'/>\r\n</r>");
    EXPECT_EQ(doc.Tag(doc.Current()), L"s"); // the cursor moved with its element
    ExpectRecordsConsistent(doc);
    EXPECT_FALSE(doc.ReorderChildren(doc.Root(), {0, 0, 1, 2}));
}

TEST(XMLDocEdit, DocumentTypeIsReplacedInPlace) {
    CXMLDoc doc;
    ASSERT_TRUE(doc.Parse(L"<?xml version=\"1.0\"?>\r\n<r/>\r\n"));
    Text doctype;
    EXPECT_FALSE(doc.GetDocType(doctype));
    ASSERT_TRUE(doc.SetDocType(L"<!DOCTYPE r [\r\nroot r\r\n]>"));
    ASSERT_TRUE(doc.GetDocType(doctype));
    EXPECT_EQ(doctype, L"<!DOCTYPE r [\r\nroot r\r\n]>");
    EXPECT_FALSE(doc.SetDocType(L"<!DOCTYPE r [ unclosed"));
    ASSERT_TRUE(doc.SetDocType(L"<!DOCTYPE q>"));
    EXPECT_EQ(doc.GetText(), L"<?xml version=\"1.0\"?>\r\n<!DOCTYPE q>\r\n<r/>\r\n");
    ASSERT_TRUE(doc.SetDocType(L""));
    EXPECT_EQ(doc.GetText(), L"<?xml version=\"1.0\"?>\r\n<r/>\r\n");
    ExpectRecordsConsistent(doc);
}

TEST(XMLDocConcurrency, TwoWritersOnOneDocumentKeepItWhole) {
    // Two shells sharing a file item write through the document's own lock.
    CXMLDoc doc;
    ASSERT_TRUE(doc.Parse(L"<r>\r\n<a/>\r\n</r>\r\n"));
    const int root = doc.Root();
    const int a = doc.Record(root).firstChild;
    std::thread attributes([&] {
        for (int i = 0; i < 300; ++i) doc.SetAttribute(L"n" + std::to_wstring(i), std::to_wstring(i), root);
    });
    std::thread data([&] {
        for (int i = 0; i < 300; ++i) doc.SetData(Text(i % 17, L'x'), i % 2 == 0, a);
    });
    attributes.join();
    data.join();
    EXPECT_EQ(doc.AttributeNames(root).size(), 300u);
    Text value;
    ASSERT_TRUE(doc.GetAttribute(L"n299", value, root));
    EXPECT_EQ(value, L"299");
    ExpectRecordsConsistent(doc);
    CXMLDoc again;
    EXPECT_TRUE(again.Parse(doc.GetText()));
}

} // namespace
