// Binary record files: header checks, element types, appending and
// overwriting, records from and into number objects and values.
#include <cstring>

#include "expr/number_object.h"
#include "items/tests/file_fixture.h"
#include "items/value_item.h"

namespace {

std::string Word(uint32_t w) {
    std::string s(4, '\0');
    for (int i = 0; i < 4; ++i) s[i] = static_cast<char>(w >> (8 * i));
    return s;
}

std::string Header(uint32_t type, int rows, int cols) {
    return Word(type) + Word(static_cast<uint32_t>(rows)) + Word(static_cast<uint32_t>(cols));
}

SRecord Record(int rows, int cols, std::vector<double> data) {
    SRecord r;
    r.rows = rows;
    r.cols = cols;
    r.data = std::move(data);
    return r;
}

using FileBinaryTest = FileTest;

TEST_F(FileBinaryTest, CorruptedTruncatedAndMissingRecords) {
    // 0x102 with a row count of 0.
    WriteBytes("zero.bin", Header(0x102, 0, 1));
    CShellFile* file = nullptr;
    SRecord r;
    ASSERT_EQ(New(L"z", WPath("zero.bin") + L" /B /R", &file), 0);
    EXPECT_EQ(file->ReadRecord(-1, r), 226);
    EXPECT_EQ(file->m_nLastResult, RECORD_CORRUPTED);

    WriteBytes("type.bin", Header(0x105, 1, 1) + std::string(5, '\0'));
    ASSERT_EQ(New(L"t", WPath("type.bin") + L" /B /R", &file), 0);
    EXPECT_EQ(file->ReadRecord(-1, r), 226);

    WriteBytes("short.bin", Header(0x408, 1, 1).substr(0, 7));
    ASSERT_EQ(New(L"s", WPath("short.bin") + L" /B /R", &file), 0);
    EXPECT_EQ(file->ReadRecord(-1, r), 227);

    WriteBytes("data.bin", Header(0x408, 2, 1) + std::string(12, '\0'));
    ASSERT_EQ(New(L"d", WPath("data.bin") + L" /B /R", &file), 0);
    EXPECT_EQ(file->ReadRecord(-1, r), 228);
    // A huge header over a short block is truncated data, not a reason to allocate.
    WriteBytes("huge.bin", Header(0x408, 0x7FFFFFFF, 0x7FFFFFFF) + std::string(8, '\0'));
    ASSERT_EQ(New(L"h", WPath("huge.bin") + L" /B", &file), 0);
    EXPECT_EQ(file->ReadRecord(-1, r), 228);
    EXPECT_EQ(file->ReadRecord(1, r), 228);
    // Nothing is appended behind a truncated record.
    EXPECT_EQ(file->WriteRecord(-1, Record(1, 1, {1}), RECORD_DOUBLE), 228);
    std::vector<Text> list;
    ASSERT_EQ(file->RecordList(list), 0);
    EXPECT_EQ(list, std::vector<Text>{L"0 2147483647 2147483647 f8"});

    // The high 20 bits of the type word are not looked at.
    WriteBytes("one.bin", Header(0xABCDE204, 1, 1) + Word(static_cast<uint32_t>(-5)));
    ASSERT_EQ(New(L"o", WPath("one.bin") + L" /B /R", &file), 0);
    ASSERT_EQ(file->ReadRecord(-1, r), 0);
    EXPECT_EQ(r.data, std::vector<double>{-5.0});
    EXPECT_EQ(file->ReadRecord(-1, r), 225);
    EXPECT_EQ(file->m_nLastResult, RECORD_END);
    EXPECT_EQ(file->ReadRecord(1, r), 224);
    EXPECT_EQ(Set(L"o", L"LOAD nothing"), 222);
}

TEST_F(FileBinaryTest, ElementTypesRoundTripAndConvert) {
    CShellFile* file = nullptr;
    ASSERT_EQ(New(L"b", WPath("types.bin") + L" /B", &file), 0);
    const SRecord values = Record(2, 2, {1.75, -2.75, 40000.5, 0.1});
    for (uint32_t type : {RECORD_INT16, RECORD_INT32, RECORD_FLOAT, RECORD_DOUBLE})
        ASSERT_EQ(file->WriteRecord(-1, values, type), 0);
    SRecord r;
    ASSERT_EQ(file->ReadRecord(0, r), 0);
    // 16 bits truncate toward zero and stay inside their range.
    EXPECT_EQ(r.data, (std::vector<double>{1, -2, 32767, 0}));
    ASSERT_EQ(file->ReadRecord(-1, r), 0);
    EXPECT_EQ(r.data, (std::vector<double>{1, -2, 40000, 0}));
    ASSERT_EQ(file->ReadRecord(-1, r), 0);
    EXPECT_EQ(r.data[3], static_cast<double>(0.1f));
    ASSERT_EQ(file->ReadRecord(-1, r), 0);
    EXPECT_EQ(r.data, values.data);
    EXPECT_EQ(r.rows, 2);
    EXPECT_EQ(r.cols, 2);
    // Column by column, little-endian, behind a 12-byte header.
    const std::string bytes = ReadBytes("types.bin");
    EXPECT_EQ(bytes.substr(0, 12), Header(0x102, 2, 2));
    EXPECT_EQ(bytes.substr(12, 8), std::string("\x01\x00\xFE\xFF\xFF\x7F\x00\x00", 8));
    std::vector<Text> list;
    ASSERT_EQ(file->RecordList(list), 0);
    EXPECT_EQ(list, (std::vector<Text>{L"0 2 2 i2", L"1 2 2 i4", L"2 2 2 f4", L"3 2 2 f8"}));
    EXPECT_EQ(Status(L"b", L"!BININFO"), L"3 0 1032 2 2");
}

TEST_F(FileBinaryTest, AppendingAndOverwriting) {
    CShellFile* file = nullptr;
    ASSERT_EQ(New(L"b", WPath("rec.bin") + L" /B", &file), 0);
    ASSERT_EQ(file->WriteRecord(-1, Record(1, 2, {1, 2}), RECORD_DOUBLE), 0);
    ASSERT_EQ(file->WriteRecord(-1, Record(3, 1, {3, 4, 5}), RECORD_INT32), 0);
    ASSERT_EQ(file->WriteRecord(-1, Record(1, 1, {6}), RECORD_DOUBLE), 0);
    const size_t size = ReadBytes("rec.bin").size();
    // Overwriting keeps the size and the record's own element type.
    ASSERT_EQ(file->WriteRecord(1, Record(3, 1, {7.9, 8, 9}), RECORD_DOUBLE), 0);
    EXPECT_EQ(ReadBytes("rec.bin").size(), size);
    EXPECT_EQ(file->WriteRecord(1, Record(1, 3, {1, 2, 3}), RECORD_DOUBLE), 223);
    EXPECT_EQ(file->WriteRecord(5, Record(1, 1, {1}), RECORD_DOUBLE), 224);
    SRecord r;
    ASSERT_EQ(file->ReadRecord(1, r), 0);
    EXPECT_EQ(r.data, (std::vector<double>{7, 8, 9}));
    ASSERT_EQ(file->ReadRecord(-1, r), 0);
    EXPECT_EQ(r.data, std::vector<double>{6});

    // A file opened again without /D keeps its records, with /D starts empty; /R cannot write.
    ASSERT_EQ(New(L"again", WPath("rec.bin") + L" /B", &file), 0);
    ASSERT_EQ(file->WriteRecord(-1, Record(1, 1, {10}), RECORD_DOUBLE), 0);
    EXPECT_EQ(file->m_nRecord, 3);
    ASSERT_EQ(New(L"ro", WPath("rec.bin") + L" /B /R", &file), 0);
    EXPECT_EQ(file->WriteRecord(-1, Record(1, 1, {1}), RECORD_DOUBLE), 218);
    ASSERT_EQ(New(L"fresh", WPath("rec.bin") + L" /B /D", &file), 0);
    EXPECT_EQ(ReadBytes("rec.bin"), "");
}

TEST_F(FileBinaryTest, AnotherItemChangingTheFileIsSeen) {
    CShellFile* a = nullptr;
    CShellFile* b = nullptr;
    ASSERT_EQ(New(L"a", WPath("shared.bin") + L" /B", &a), 0);
    ASSERT_EQ(a->WriteRecord(-1, Record(1, 1, {1}), RECORD_DOUBLE), 0);
    ASSERT_EQ(a->WriteRecord(-1, Record(1, 1, {2}), RECORD_DOUBLE), 0);
    SRecord r;
    ASSERT_EQ(a->ReadRecord(0, r), 0);
    // b starts the file anew with records of other shapes.
    ASSERT_EQ(New(L"b", WPath("shared.bin") + L" /B /D", &b), 0);
    ASSERT_EQ(b->WriteRecord(-1, Record(3, 1, {7, 8, 9}), RECORD_INT16), 0);
    ASSERT_EQ(b->WriteRecord(-1, Record(1, 1, {5}), RECORD_INT32), 0);
    ASSERT_EQ(a->ReadRecord(-1, r), 0);
    EXPECT_EQ(r.data, std::vector<double>{5});
    // a appends behind b's records.
    ASSERT_EQ(a->WriteRecord(-1, Record(1, 1, {6}), RECORD_DOUBLE), 0);
    EXPECT_EQ(a->m_nRecord, 2);
    ASSERT_EQ(b->ReadRecord(2, r), 0);
    EXPECT_EQ(r.data, std::vector<double>{6});
}

TEST_F(FileBinaryTest, SaveAndLoadThroughNumberObjectsAndValues) {
    CShellFile* file = nullptr;
    ASSERT_EQ(New(L"b", WPath("n.bin") + L" /B", &file), 0);
    Text source;
    ASSERT_TRUE(NewNumberObject(
        *Shell(), Matrix::FromColumnMajor(2, 2, std::vector<double>{1.9, -1.9, 2.5, 3}.data()), source));
    // /1 truncates fractions.
    ASSERT_EQ(Set(L"b", L"SAVE " + source + L" /1"), 0);
    ASSERT_EQ(Set(L"b", L"SAVE " + source), 0);
    Text target;
    ASSERT_TRUE(NewNumberObject(*Shell(), Matrix(), target));
    ASSERT_EQ(Set(L"b", L"LOAD " + target + L" 0"), 0);
    const Matrix& loaded = FindNumberObject(*Shell(), target)->value;
    ASSERT_EQ(loaded.Rows(), 2);
    ASSERT_EQ(loaded.Cols(), 2);
    EXPECT_EQ(loaded(0, 0), 1);
    EXPECT_EQ(loaded(1, 0), -1);
    EXPECT_EQ(loaded(0, 1), 2);
    ASSERT_EQ(Set(L"b", L"LOAD " + target), 0);
    EXPECT_EQ(FindNumberObject(*Shell(), target)->value(0, 0), 1.9);

    RunMacro(L"NEW VALUE v\n");
    ASSERT_EQ(Set(L"b", L"LOAD v 0"), 0);
    auto* value = static_cast<CShellValue*>(Shell()->FindItem(L"v", KIND_VALUE)->value);
    EXPECT_EQ(value->m_value(1, 0), -1);
    EXPECT_EQ(value->m_type, CShellValue::DATA_ARRAY);
    ASSERT_EQ(Set(L"b", L"SAVE v /2"), 0);
    EXPECT_EQ(Set(L"b", L"SAVE nothing"), 222);
    EXPECT_EQ(Set(L"b", L"SAVE b"), 230);
    EXPECT_EQ(Set(L"b", L"SAVE *"), 0);
    std::vector<Text> list;
    ASSERT_EQ(file->RecordList(list), 0);
    EXPECT_EQ(list.size(), 3u);
    EXPECT_EQ(list[2], L"2 2 2 i4");
}

TEST_F(FileBinaryTest, RawRowsOneAtATime) {
    CShellFile* file = nullptr;
    ASSERT_EQ(New(L"b", WPath("raw.bin") + L" /B", &file), 0);
    ASSERT_EQ(file->WriteRecord(-1, Record(2, 3, {1, 2, 3, 4, 5, 6}), RECORD_INT32), 0);
    ASSERT_EQ(file->WriteRecord(-1, Record(1, 2, {7, 8}), RECORD_DOUBLE), 0);
    SRecord r;
    ASSERT_EQ(file->ReadRawRow(0, r), 0);
    EXPECT_EQ(r.data, (std::vector<double>{1, 3, 5}));
    ASSERT_EQ(file->ReadRawRow(-1, r), 0);
    EXPECT_EQ(r.data, (std::vector<double>{2, 4, 6}));
    EXPECT_EQ(file->m_nRecord, 0);
    ASSERT_EQ(file->ReadRawRow(-1, r), 0);
    EXPECT_EQ(r.data, (std::vector<double>{7, 8}));
    EXPECT_EQ(file->m_nRecord, 1);
    EXPECT_EQ(file->ReadRawRow(-1, r), 225);

    // Through LOAD /R into a value: a row of three becomes a vector.
    RunMacro(L"NEW VALUE v\n");
    ASSERT_EQ(Set(L"b", L"LOAD v 0 /R"), 0);
    ASSERT_EQ(Set(L"b", L"LOAD v /R"), 0);
    auto* value = static_cast<CShellValue*>(Shell()->FindItem(L"v", KIND_VALUE)->value);
    EXPECT_EQ(value->DataText(), L"2 4 6");
}

TEST_F(FileBinaryTest, BinaryOnlyOperations) {
    WriteBytes("t.txt", "x\r\n");
    CShellFile* file = nullptr;
    ASSERT_EQ(New(L"t", WPath("t.txt") + L" /T", &file), 0);
    SRecord r;
    EXPECT_EQ(file->ReadRecord(-1, r), 229);
    EXPECT_EQ(file->WriteRecord(-1, Record(1, 1, {1}), RECORD_DOUBLE), 229);
    ASSERT_EQ(New(L"b", WPath("b.bin") + L" /B", &file), 0);
    EXPECT_EQ(file->ReadRecord(-3, r), 223);
}

} // namespace
