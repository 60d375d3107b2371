#include <gtest/gtest.h>

#include "items/xml_file.h"

namespace {

const wchar_t kDocType[] = L"<!DOCTYPE meta [\r\n"
                           L"name sound file metadata\r\n"
                           L"root meta\r\n"
                           L"element meta\r\n"
                           L"child seg 1 3\r\n"
                           L"attribute version integer 1 * yes\r\n"
                           L"close\r\n"
                           L"element seg base * label\r\n"
                           L"attribute kind valuelist word pause noise no\r\n"
                           L"close\r\n"
                           L"element base\r\n"
                           L"attribute ID string 1 8 all\r\n"
                           L"attribute start number 0 * no\r\n"
                           L"attribute tmp integer 0 1 yes\r\n"
                           L"close\r\n"
                           L"element label\r\n"
                           L"child text 0 *\r\n"
                           L"close\r\n"
                           L"element text\r\n"
                           L"close\r\n"
                           L"]>";

TEST(XDTSchema, ReadsDeclarationsAndAnswersQueries) {
    CXDTSchema schema;
    Text message;
    ASSERT_TRUE(schema.Parse(kDocType, message)) << ToUtf8(message);
    EXPECT_EQ(schema.Name(), L"sound file metadata");
    EXPECT_EQ(schema.RootName(), L"meta");
    ASSERT_NE(schema.Find(L"seg"), nullptr);
    EXPECT_EQ(CXDTSchema::ElementForm(*schema.Find(L"seg")), L"base * label * *");
    EXPECT_TRUE(schema.IsA(L"seg", L"base"));
    EXPECT_TRUE(schema.IsA(L"seg", L"label"));
    EXPECT_FALSE(schema.IsA(L"base", L"seg"));

    // Taken over: the children and attributes of the referenced elements, with "yes"
    // binding only its own element and "all" every element that takes it over.
    const std::vector<SXDTAttribute> attributes = schema.AllAttributes(L"seg");
    ASSERT_EQ(attributes.size(), 4u);
    EXPECT_EQ(CXDTSchema::AttributeForm(attributes[0]), L"kind 0 0 no ValueList word pause noise");
    EXPECT_EQ(CXDTSchema::AttributeForm(attributes[1]), L"ID 1 1 all String 1 8");
    EXPECT_EQ(CXDTSchema::AttributeForm(attributes[2]), L"start 0 0 no Number 0 * ");
    EXPECT_EQ(CXDTSchema::AttributeForm(attributes[3]), L"tmp 0 0 no Integer 0 1 ");
    ASSERT_EQ(schema.AllChildren(L"seg").size(), 1u);
    EXPECT_EQ(CXDTSchema::ChildForm(schema.AllChildren(L"seg")[0]), L"text 0 -1");
    EXPECT_EQ(CXDTSchema::ChildForm(schema.AllChildren(L"meta")[0]), L"seg 1 3");
}

TEST(XDTSchema, BadLinesAreReportedWithTheirNumber) {
    const struct {
        const wchar_t* text;
        const wchar_t* message;
    } cases[] = {
        {L"<!DOCTYPE a [\nchild x\n]>", L"line 2: child outside an element"},
        {L"<!DOCTYPE a [\nelement a\nattribute n integer 1\n]>", L"line 3: two bounds expected"},
        {L"<!DOCTYPE a [\nelement a\nattribute n float 1 2\n]>", L"line 3: unknown attribute type"},
        {L"<!DOCTYPE a [\nelement a b c d e f g\n]>", L"line 2: more than five element references"},
        {L"<!DOCTYPE a [\nelement a\nchild b 3 1\n]>", L"line 3: bad child count"},
    };
    for (const auto& c : cases) {
        CXDTSchema schema;
        Text message;
        EXPECT_FALSE(schema.Parse(c.text, message)) << ToUtf8(c.text);
        EXPECT_EQ(message, c.message);
    }
    CXDTSchema schema;
    Text message;
    EXPECT_FALSE(schema.Parse(L"<!DOCTYPE a SYSTEM \"a.dtd\">", message)); // no internal part
}

class XMLValidateTest : public testing::Test {
protected:
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
    void Load(const Text& body) {
        ASSERT_TRUE(m_state.Doc().Parse(Text(kDocType) + L"\r\n" + body));
        CWords none;
        COptions options;
        Text doctype;
        // Reading the document type again also reads the schema.
        ASSERT_EQ(m_state.Set(L"DOCTYPE", none, options, doctype), 0);
        CWords words{SWord{SWord::Plain, doctype}};
        ASSERT_EQ(m_state.Set(L"DOCTYPE", words, options, m_result), 0);
    }
    CXMLFileState m_state;
    Text m_result;
};

TEST_F(XMLValidateTest, ValidDocumentPasses) {
    Load(L"<meta version='2'><seg ID='a' start='0.5' kind='word'><text/></seg><seg ID='b'/></meta>");
    EXPECT_EQ(Set(L"VALIDATE"), 0);
    EXPECT_EQ(Status({L"XDTNAME"}), L"sound file metadata");
    EXPECT_EQ(Status({L"XDTROOT"}), L"meta");
    EXPECT_EQ(Status({L"XDTELEMENTS"}), L"meta seg base label text");
    EXPECT_EQ(Status({L"XDTELEMENTS", L"meta"}), L"* * * * *");
    EXPECT_EQ(Status({L"XDTCHILDREN", L"meta"}), L"seg");
    EXPECT_EQ(Status({L"XDTCHILDREN", L"meta", L"0"}), L"seg 1 3");
    EXPECT_EQ(Status({L"XDTATTRIBUTES", L"base"}), L"ID start tmp");
    EXPECT_EQ(Status({L"XDTATTRIBUTES", L"base", L"2"}), L"tmp 1 0 yes Integer 0 1 ");
    EXPECT_EQ(Status({L"XDTISA", L"seg", L"base"}), L"1");
    EXPECT_EQ(Status({L"XDTISA", L"meta", L"base"}), L"0");
}

TEST_F(XMLValidateTest, EachKindOfOffenceIsFound) {
    const struct {
        const wchar_t* body;
        const wchar_t* message;
    } cases[] = {
        {L"<other/>", L"root element meta expected"},
        {L"<meta version='1'/>", L"0 elements seg in meta"},
        {L"<meta version='1'><seg ID='a'/><seg ID='b'/><seg ID='c'/><seg ID='d'/></meta>",
         L"4 elements seg in meta"},
        {L"<meta><seg ID='a'/></meta>", L"attribute version missing in meta"},
        {L"<meta version='x'><seg ID='a'/></meta>", L"bad value \"x\" of attribute version in meta"},
        {L"<meta version='0'><seg ID='a'/></meta>", L"bad value \"0\" of attribute version in meta"},
        {L"<meta version='1' extra='1'><seg ID='a'/></meta>", L"attribute extra not allowed in meta"},
        {L"<meta version='1'><seg/></meta>", L"attribute ID missing in seg"},
        {L"<meta version='1'><seg ID='waytoolong'/></meta>",
         L"bad value \"waytoolong\" of attribute ID in seg"},
        {L"<meta version='1'><seg ID='a' kind='song'/></meta>",
         L"bad value \"song\" of attribute kind in seg"},
        {L"<meta version='1'><seg ID='a' start='-1'/></meta>", L"bad value \"-1\" of attribute start in seg"},
        {L"<meta version='1'><seg ID='a'><meta/></seg></meta>", L"element meta not allowed in seg"},
        {L"<meta version='1'><seg ID='a'><odd/></seg></meta>", L"element odd not allowed in seg"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(ToUtf8(c.body));
        Load(c.body);
        EXPECT_EQ(Set(L"VALIDATE"), 124);
        EXPECT_EQ(m_result, c.message);
    }
}

TEST_F(XMLValidateTest, OptionsNarrowTheChecks) {
    Load(L"<meta version='1'><seg ID='a' bad='1'><odd/></seg></meta>");
    EXPECT_EQ(Set(L"VALIDATE", {}, L"R"), 0);   // the root's name is right
    EXPECT_EQ(Set(L"VALIDATE", {}, L"C"), 124); // the odd child
    EXPECT_EQ(Set(L"VALIDATE", {}, L"CI"), 0);  // unknown elements passed over
    EXPECT_EQ(Set(L"VALIDATE", {}, L"A"), 124); // the bad attribute
    EXPECT_EQ(m_result, L"attribute bad not allowed in seg");
    ASSERT_EQ(Set(L"ROOT"), 0);
    EXPECT_EQ(Set(L"VALIDATE", {}, L"AP"), 0); // the root alone is fine
    EXPECT_EQ(Set(L"DOCTYPE", {L"*"}), 0);
    EXPECT_EQ(Set(L"VALIDATE"), 148);
    EXPECT_EQ(Set(L"DOCTYPE"), 148);
    EXPECT_EQ(Status({L"XDTROOT"}), L"");
    // A document type built from lines.
    EXPECT_EQ(Set(L"DOCTYPE", {L"meta", L"root meta", L"element meta", L"attribute version integer 1 9 no"}),
              0);
    EXPECT_EQ(Set(L"VALIDATE", {}, L"A"), 124);
    EXPECT_EQ(m_result, L"element seg not defined");
    EXPECT_EQ(Set(L"VALIDATE", {}, L"AP"), 0);
}

} // namespace
