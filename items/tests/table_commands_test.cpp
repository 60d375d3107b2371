// Tables driven by macro text: NEW TABLE and its options, SET t in its
// forms, t[...] reads, t[i,f] := value, FIND and TAGS, the lock that saves
// the tags, and the matrices the evaluator reads.
#include "items/table_kind.h"
#include "macro/tests/macro_fixture.h"
#include "numeric/matrix.h"
#include "shell/options.h"

namespace {

class TableMacro : public MacroTest {
protected:
    // Runs the lines as one macro and gives back the shell for item checks.
    void Run(const Text& lines) {
        ASSERT_TRUE(Load(L"[MACRO T]\n" + lines));
        RunAndWait(L"T");
    }
    CShellTable* Table(const wchar_t* name) { return CShellTable::Find(*Shell(), name); }
};

TEST_F(TableMacro, NewTableKindsAndFieldSlots) {
    Run(L"NEW TABLE plain\n"
        L"NEW TABLE two 2\n"
        L"NEW TABLE t /P 2 a b\n"
        L"NEW TABLE d /D 3\n"
        L"NEW TABLE rep /E * x:Integer:3 y:N\n"
        L"@p := t[!PARAMETER]\n"
        L"@pf := t[!FIELDS]\n"
        L"@f0 := t[!FIELDS,a]\n"
        L"@e := two[!EXTENDED]\n"
        L"@d := d[!FIELDS]\n"
        L"@d1 := <d[!FIELDS,1,TYPE]>\n"
        L"@rep := rep[!FIELDS,3]\n"
        L"@lsep := plain[!LSEP]\n"
        L"@plain := ~plain\n"
        L"@kind := ~t\n"
        L"@plainstatus := ~plain[]\n"
        L"@status := ~t[]\n");
    EXPECT_EQ(Global(L"p"), L"1");
    EXPECT_EQ(Global(L"pf"), L"2");
    EXPECT_EQ(Global(L"f0"), L"4 a 1 0 1");
    EXPECT_EQ(Global(L"e"), L"1");
    EXPECT_EQ(Global(L"d"), L"6");
    EXPECT_EQ(Global(L"d1"), L"<INT>") << "bare, INT would run as a command";
    EXPECT_EQ(Global(L"rep"), L"1 y 1 0 1");
    EXPECT_EQ(Global(L"lsep"), L"$$");
    // ~t is the kind, ~t[] the status line.
    EXPECT_EQ(Global(L"plain"), L"TABLE");
    EXPECT_EQ(Global(L"kind"), L"TABLE");
    EXPECT_EQ(Global(L"plainstatus"), L"type=simple, size=0, visible=all");
    EXPECT_EQ(Global(L"status"), L"type=parameter, fields=2, size=0, visible=all");
    EXPECT_EQ(Table(L"plain")->Kind(), TABLE_PLAIN);
    EXPECT_EQ(Table(L"two")->FieldType(1), FIELD_UNDEFINED);
    EXPECT_EQ(Table(L"rep")->FieldName(2), L"x2");
}

TEST_F(TableMacro, NewTableFailuresAndTheirQuietTwins) {
    Run(L"NEW TABLE a /I\n@noarg := SET $RC\n"
        L"NEW TABLE a /N=0\n@badarg := SET $RC\n"
        L"NEW TABLE a 2 x:Word\n@type := SET $RC\n"
        L"NEW TABLE a 2 x:Number:0\n@count := SET $RC\n"
        L"NEW TABLE a 2 x x\n@redef := SET $RC\n"
        L"NEW TABLE a /L 2 x x\n@quiet := SET $RC\n"
        L"NEW TABLE a zz\n@nonnum := SET $RC\n"
        L"NEW TABLE a 0\n@few := SET $RC\n"
        L"NEW TABLE a /P 1 s:String\n@pstr := SET $RC\n"
        L"NEW TABLE a /S\n@segment := SET $RC\n"
        L"NEW TABLE s /I=10 /N=10 /P 1 x\n"
        L"@start := s[!STARTSZ]\n@chunk := s[!CHUNKSZ]\n");
    EXPECT_EQ(Global(L"noarg"), L"110");
    EXPECT_EQ(Global(L"badarg"), L"111");
    EXPECT_EQ(Global(L"type"), L"112");
    EXPECT_EQ(Global(L"count"), L"113");
    EXPECT_EQ(Global(L"redef"), L"114");
    EXPECT_EQ(Global(L"quiet"), L"420");
    EXPECT_EQ(Global(L"nonnum"), L"66");
    EXPECT_EQ(Global(L"few"), L"2");
    EXPECT_EQ(Global(L"pstr"), L"407");
    EXPECT_EQ(Global(L"segment"), L"157");
    EXPECT_EQ(Global(L"start"), L"10");
    EXPECT_EQ(Global(L"chunk"), L"50");
    EXPECT_EQ(Shell()->FindItem(L"a"), nullptr);
}

TEST_F(TableMacro, SetRowsOfExtendedAndPlainTables) {
    Run(L"NEW TABLE t 2\n"
        L"SET t DEFINE 0 String x\n"
        L"SET t DEFINE * Number y\n"
        L"SET t 5 x 1\n"
        L"@rows := t[!NROW]\n"
        L"@r5 := t[5,x]\n"
        L"SET t 2 'a;2.5'\n"
        L"@row2 := t[2]\n"
        L"@y2 := t[2,y]\n"
        L"SET t 1 y abc\n@bad := SET $RC\n"
        L"SET t 1 nope 1\n@nofield := SET $RC\n"
        L"SET t -1 x 1\n@neg := SET $RC\n"
        L"SET t 9 /D\n@nodel := SET $RC\n"
        L"SET t 9 /D/s\n@nodelq := SET $RC\n"
        L"SET t 0 /D\n@left := t[!NROW]\n"
        L"@n := SET t * x new\n"
        L"SET t 0 x z /N=2\n@n0 := t[0,x]\n@n1 := t[1,x]\n"
        L"SET t 0 y 7 /N=A\n@all := t[4,y]\n"
        L"NEW TABLE p\n"
        L"SET p 2 second line\n"
        L"SET p * tail\n"
        L"@p2 := p[2]\n@prows := p[!NROW]\n"
        L"SET p 0\n@pleft := p[0]\n"
        L"SET p DEFINE 0 String q\n@pkey := SET $RC\n");
    EXPECT_EQ(Global(L"rows"), L"6");
    EXPECT_EQ(Global(L"r5"), L"1");
    EXPECT_EQ(Global(L"row2"), L"a;2.5");
    EXPECT_EQ(Global(L"y2"), L"2.5");
    EXPECT_EQ(Global(L"bad"), L"152");
    EXPECT_EQ(Global(L"nofield"), L"57");
    EXPECT_EQ(Global(L"neg"), L"153");
    EXPECT_EQ(Global(L"nodel"), L"416");
    EXPECT_EQ(Global(L"nodelq"), L"417");
    EXPECT_EQ(Global(L"left"), L"5");
    EXPECT_EQ(Global(L"n"), L"5");
    EXPECT_EQ(Global(L"n0"), L"z");
    EXPECT_EQ(Global(L"n1"), L"z");
    EXPECT_EQ(Global(L"all"), L"7");
    EXPECT_EQ(Global(L"p2"), L"second line");
    EXPECT_EQ(Global(L"prows"), L"4");
    EXPECT_EQ(Global(L"pleft"), L"");
    EXPECT_EQ(Global(L"pkey"), L"4");
}

TEST_F(TableMacro, BadIndexesReadAsEmptyTextNeverAsErrors) {
    Run(L"NEW TABLE t /P 1 a\n"
        L"SET t * a 1\n"
        L"@a := <t[7,a]>\n@rc1 := SET $RC\n"
        L"@b := <t[0,zz]>\n"
        L"@c := <t[x,a]>\n"
        L"@d := <t[-1]>\n"
        L"@e := <t[!NOSUCH]>\n");
    EXPECT_EQ(Global(L"a"), L"<>");
    EXPECT_EQ(Global(L"rc1"), L"0");
    EXPECT_EQ(Global(L"b"), L"<>");
    EXPECT_EQ(Global(L"c"), L"<>");
    EXPECT_EQ(Global(L"d"), L"<>");
    EXPECT_EQ(Global(L"e"), L"<>");
}

TEST_F(TableMacro, TagCommandsAndRangedRowNumbers) {
    Run(L"NEW TABLE t /P 1 a\n"
        L"SET t * a 10\nSET t * a 20\nSET t * a 30\n"
        L"SET t 1 /T\n"
        L"SET t 2 /T\n"
        L"SET t /T\n"
        L"@ranged := t[!NROW]\n@first := t[0,a]\n@tag := t[0,!TAGGED]\n"
        L"@tags := TAGS t\n"
        L"SET t /R\n"
        L"@cleared := TAGS t\n@all := t[!NROW]\n"
        L"TAGS t '0 2'\nSET t /I\n@inverted := TAGS t\n"
        L"SET t FIND\n@found := TAGS t\n"
        L"SET t FIND a:>:15 /T\n@narrow := t[!NROW]\n@r0 := t[0,a]\n"
        L"SET t FIND a\n@even := SET $RC\n"
        L"SET t FIND a OR\n@odd := SET $RC\n@kept := t[!NROW]\n"
        L"SET t /D\n@deleted := t[!NROW]\n@real := t[!RANGED]\n");
    EXPECT_EQ(Global(L"ranged"), L"2");
    EXPECT_EQ(Global(L"first"), L"20");
    EXPECT_EQ(Global(L"tag"), L"1");
    EXPECT_EQ(Global(L"tags"), L"1 2");
    EXPECT_EQ(Global(L"cleared"), L"");
    EXPECT_EQ(Global(L"all"), L"3");
    EXPECT_EQ(Global(L"inverted"), L"1");
    EXPECT_EQ(Global(L"found"), L"0 1 2");
    EXPECT_EQ(Global(L"narrow"), L"2");
    EXPECT_EQ(Global(L"r0"), L"20");
    EXPECT_EQ(Global(L"even"), L"0");
    EXPECT_EQ(Global(L"odd"), L"2");
    EXPECT_EQ(Global(L"kept"), L"2");
    EXPECT_EQ(Global(L"deleted"), L"0");
    EXPECT_EQ(Global(L"real"), L"1");
    EXPECT_EQ(Table(L"t")->m_nRows, 1);
}

TEST_F(TableMacro, SetWithNoArgumentsClearsAllTags) {
    Run(L"NEW TABLE t /P 1 a\nSET t * a 1\nSET t * a 2\nSET t FIND\n");
    CShellTable* t = Table(L"t");
    ASSERT_NE(t, nullptr);
    EXPECT_EQ(t->m_nTagged, 2);
    CItemKind* kind = CItemKindRegistry::Find(KIND_TABLE);
    CWords args;
    COptions options;
    Text result;
    EXPECT_EQ(kind->Set(*Shell(), AsObject(t), L"t", args, options, result), 0);
    EXPECT_EQ(t->m_nTagged, 0);
    EXPECT_FALSE(t->IsRanged());
}

TEST_F(TableMacro, SavedTagsComeBackWithUnlock) {
    Run(L"NEW TABLE t /P 1 a\nSET t * a 1\nSET t * a 2\n"
        L"SET t 0 /T\nSET t /T\n"
        L"SET t LOCK /S\n"
        L"SET t FIND\n"
        L"@inside := t[!NROW]\n"
        L"SET t * a 3\n@add := SET $RC\n"
        L"SET t UNLOCK\n"
        L"@after := t[!NROW]\n@ranged := t[!RANGED]\n"
        L"SET t * a 3\n@added := SET $RC\n");
    EXPECT_EQ(Global(L"inside"), L"2");
    EXPECT_EQ(Global(L"add"), L"414");
    EXPECT_EQ(Global(L"after"), L"1");
    EXPECT_EQ(Global(L"ranged"), L"1");
    EXPECT_EQ(Global(L"added"), L"0");
}

TEST_F(TableMacro, MatricesOfTablesAndAssignedElements) {
    Run(L"NEW TABLE t /P 2 a b\n"
        L"SET t * a 1 b 2\n"
        L"@vec := EVAL t\n"
        L"SET t * a 3 b 4\n"
        L"t[4,a] := 5\n"
        L"@rows := t[!NROW]\n@a4 := t[4,a]\n"
        L"t[1,zz] := 5\n@badf := SET $RC\n"
        L"t[x,a] := 5\n@badi := SET $RC\n"
        L"NEW TABLE e /P 2 a b\n"
        L"e[*,b] := EVAL t[*,b]\n@erows := e[!NROW]\n@e1 := e[1,b]\n"
        L"e[0] := EVAL t[1,*]\n@e0 := e[0]\n");
    EXPECT_EQ(Global(L"vec").substr(0, 2), L"X#") << "a one-row table reads as a vector";
    EXPECT_EQ(Global(L"badf"), L"57");
    EXPECT_EQ(Global(L"badi"), L"151");
    EXPECT_EQ(Global(L"rows"), L"5");
    EXPECT_EQ(Global(L"a4"), L"5");
    EXPECT_EQ(Global(L"erows"), L"5");
    EXPECT_EQ(Global(L"e1"), L"4");
    EXPECT_EQ(Global(L"e0"), L"3;4");
    CShellTable* t = Table(L"t");
    ASSERT_NE(t, nullptr);
    Matrix m;
    ASSERT_TRUE(CItemKindRegistry::Find(KIND_TABLE)->ToMatrix(AsObject(t), {}, m));
    EXPECT_EQ(m.Rows(), 5);
    EXPECT_EQ(m.Cols(), 2);
    EXPECT_EQ(m(4, 0), 5);
    EXPECT_EQ(m(2, 1), 0) << "appended rows are zero";
}

TEST_F(TableMacro, NumberObjectsOfRowsColumnsAndWholeTables) {
    Run(L"NEW TABLE t /P 2 a b\n"
        L"SET t * a 1 b 2\nSET t * a 3 b 4\n"
        L"@whole := t[*]\n@row := t[1,*]\n@col := t[*,a]\n");
    auto matrixOf = [&](const Text& name) {
        Matrix m;
        // An assignment prints a number object: a matrix becomes an "X#" table.
        EXPECT_EQ(name.substr(0, 2), L"X#");
        CShell::ItemEntry* e = Shell()->FindItem(name, KIND_TABLE);
        if (e) CItemKindRegistry::Find(KIND_TABLE)->ToMatrix(e->value, {}, m);
        return m;
    };
    const Matrix whole = matrixOf(Global(L"whole"));
    ASSERT_EQ(whole.Rows(), 2);
    ASSERT_EQ(whole.Cols(), 2);
    EXPECT_EQ(whole(1, 0), 3);
    const Matrix row = matrixOf(Global(L"row"));
    ASSERT_EQ(row.Rows(), 2);
    EXPECT_EQ(row(1), 4);
    const Matrix col = matrixOf(Global(L"col"));
    ASSERT_EQ(col.Rows(), 2);
    EXPECT_EQ(col(1), 3);
}

TEST_F(TableMacro, SortFindAndCopyFromMacros) {
    Run(L"NEW TABLE w 1 w:String\n"
        L"SET w * Zebra\nSET w * Äpfel\nSET w * ofen\n"
        L"SET w SORT w Ascending\n@first := w[0,w]\n@sort := w[!SORT]\n"
        L"SET w SORT w D /R\n@down := w[0,w]\n@sortr := w[!SORT]\n"
        L"SET w SORT w\n@odd := SET $RC\n"
        L"@pos := FIND w OFEN\n"
        L"FIND w nothing\n@miss := SET $RC\n"
        L"NEW TABLE c /C w\n@crows := c[!NROW]\n@c0 := c[0,w]\n"
        L"NEW TABLE m /P 2 a b\nSET m * a 1 b 2\nSET m * a 3 b 4\n"
        L"NEW TABLE mt /C m /R /A r\n@mtf := mt[!FIELDS]\n@mt := mt[1,r1]\n"
        L"NEW TABLE p\nSET p * b\nSET p * a\nSET p SORT A\n@p0 := p[0]\nSET p SORT\n@p1 := p[0]\n");
    EXPECT_EQ(Global(L"first"), L"Äpfel");
    EXPECT_EQ(Global(L"sort"), L"0 0 0");
    EXPECT_EQ(Global(L"down"), L"Zebra");
    EXPECT_EQ(Global(L"sortr"), L"1 0 1");
    EXPECT_EQ(Global(L"odd"), L"2");
    EXPECT_EQ(Global(L"pos"), L"1");
    EXPECT_EQ(Global(L"miss"), L"194");
    EXPECT_EQ(Global(L"crows"), L"3");
    EXPECT_EQ(Global(L"c0"), L"Zebra");
    EXPECT_EQ(Global(L"mtf"), L"2");
    EXPECT_EQ(Global(L"mt"), L"4");
    EXPECT_EQ(Global(L"p0"), L"a");
    EXPECT_EQ(Global(L"p1"), L"b");
}

TEST_F(TableMacro, ConfigModeFormatAndClipboard) {
    Run(L"NEW TABLE t 2 s x:Number\n"
        L"SET t CONFIG x * 1 2 %.1f\n"
        L"SET t CONFIG x * * * bad%\n@badformat := SET $RC\n"
        L"SET t 0 ab;1.25\n"
        L"@display := t[0]\n"
        L"SET t MODE * * 1\n@storage := t[0]\n"
        L"SET t MODE 0\n@def := t[x]\n"
        L"SET t MODE 1 * 0 ,\n"
        L"SET t FORMAT 1 * :\n@io := t[!IO]\n"
        L"SET t 1 'x:2,5'\n@x1 := t[1,x]\n"
        L"SET t CLIPBOARD /W\n"
        L"NEW TABLE back 2 s x:Number\n"
        L"SET back FORMAT 1 * :\n"
        L"SET back CLIPBOARD /R\n@brows := back[!NROW]\n@bx := back[1,x]\n");
    EXPECT_EQ(Global(L"badformat"), L"178");
    EXPECT_EQ(Global(L"display"), L"ab;x=2.5");
    EXPECT_EQ(Global(L"storage"), L"ab;1.25");
    EXPECT_EQ(Global(L"def"), L"4 x 1 1 2 %.1f");
    EXPECT_EQ(Global(L"io"), L"1");
    EXPECT_EQ(Global(L"x1"), L"2.5");
    EXPECT_EQ(Global(L"brows"), L"2");
    EXPECT_EQ(Global(L"bx"), L"2.5");
}

TEST_F(TableMacro, DefineRenameUndefineAndFieldAttributes) {
    Run(L"NEW TABLE t 4 a b:Integer\n"
        L"SET t * a x b 2\n"
        L"SET t DEFINE /R b count\n@renamed := t[0,count]\n"
        L"SET t DEFINE /R a 9bad\n@badname := SET $RC\n"
        L"SET t DEFINE 2 Number n 2\n@n1 := t[!FIELDS,n1]\n"
        L"SET t DEFINE * Number more\n@full := SET $RC\n"
        L"SET t DEFINE 0 Number a\n@redef := SET $RC\n"
        L"SET t DEFINE /A -1 Number z\n@neg := SET $RC\n"
        L"SET t DEFINE a\n@gone := <t[0,a]>\n@slot := <t[!FIELDS,0]>\n"
        L"SET t DEFINE /A 0 String count\n@unique := t[!FIELDS,0,NAME]\n"
        L"SET t CONFIG count 0 * * AUTO 1 -1 <blank> Total 12 1 1 1 vals 2 1 1 1 1\n"
        L"@vis := t[!FIELDS,count,VISIBLE]\n@fmt := t[!FIELDS,count,FORMAT]\n"
        L"@head := t[!FIELDS,count,HEADER]\n@width := t[!FIELDS,count,WIDTH]\n"
        L"@vonly := t[!FIELDS,count,VONLY]\n@edit := t[!EDITABLE,count]\n@multi := t[!MULTIROW,count]\n"
        L"@ncol := t[!NCOL]\n@mem := t[!MEMORY]\n");
    EXPECT_EQ(Global(L"renamed"), L"2");
    EXPECT_EQ(Global(L"badname"), L"461");
    EXPECT_EQ(Global(L"n1"), L"4 n1 1 0 1");
    EXPECT_EQ(Global(L"full"), L"401");
    EXPECT_EQ(Global(L"redef"), L"405");
    EXPECT_EQ(Global(L"neg"), L"403");
    EXPECT_EQ(Global(L"gone"), L"<>");
    EXPECT_EQ(Global(L"slot"), L"<>") << "an undefined slot is no field to read";
    EXPECT_EQ(Global(L"unique"), L"count0");
    EXPECT_EQ(Global(L"vis"), L"0");
    EXPECT_EQ(Global(L"fmt"), L"%.0f");
    EXPECT_EQ(Global(L"head"), L"Total");
    EXPECT_EQ(Global(L"width"), L"12");
    EXPECT_EQ(Global(L"vonly"), L"1");
    EXPECT_EQ(Global(L"edit"), L"1");
    EXPECT_EQ(Global(L"multi"), L"1");
    EXPECT_EQ(Global(L"ncol"), L"4");
    // One row: 16 bytes, the integer 4 bytes, and nothing for the cleared string.
    EXPECT_EQ(Global(L"mem"), L"20 20");
}

TEST_F(TableMacro, CopyFromValuesAndBetweenTables) {
    Run(L"NEW TABLE m /P 2 a b\nSET m * a 1 b 2\nSET m * a 3 b 4\n"
        L"NEW TABLE t /P 3 x y z\n"
        L"SET t COPY m\n@rows := t[!NROW]\n@x1 := t[1,x]\n"
        L"#v := EVAL m\n"
        L"SET t COPY $#v 5 y\n@y6 := t[6,y]\n@z6 := t[6,z]\n"
        L"SET t COPY $#v 0 x /R /C\n@turned := t[1,x]\n@trows := t[!NROW]\n"
        L"NEW TABLE n /P 2 a b\nSET t COPY n /W\n@wrote := n[!NROW]\n"
        L"SET t COPY nothing\n@none := SET $RC\n"
        L"NEW TABLE v /C $#v /R /A p\n@vf := v[!FIELDS,1,NAME]\n@vrows := v[!NROW]\n");
    EXPECT_EQ(Global(L"rows"), L"2");
    EXPECT_EQ(Global(L"x1"), L"3") << "no name matches: fields go by place";
    EXPECT_EQ(Global(L"y6"), L"3");
    EXPECT_EQ(Global(L"z6"), L"4");
    EXPECT_EQ(Global(L"turned"), L"2");
    EXPECT_EQ(Global(L"trows"), L"2");
    EXPECT_EQ(Global(L"wrote"), L"2");
    EXPECT_EQ(Global(L"none"), L"96");
    EXPECT_EQ(Global(L"vf"), L"p1");
    EXPECT_EQ(Global(L"vrows"), L"2");
}

TEST_F(TableMacro, ClipboardHooksReplaceTheProcessClipboard) {
    static Text s_copied;
    SetClipboardHooks(
        [](Text& out) {
            out = L"one\r\ntwo\r\n";
            return true;
        },
        [](const Text& text) {
            s_copied = text;
            return true;
        });
    Run(L"NEW TABLE p 1 line:String\nSET p CLIPBOARD /R\n@rows := p[!NROW]\n@p1 := p[1]\n"
        L"SET p CLIPBOARD\n");
    SetClipboardHooks(nullptr, nullptr);
    EXPECT_EQ(Global(L"rows"), L"2");
    EXPECT_EQ(Global(L"p1"), L"two");
    EXPECT_EQ(s_copied, L"one\r\ntwo\r\n");
}

TEST_F(TableMacro, DroppedFilesAndPrintedMatricesBecomeTables) {
    CItemKind* kind = CItemKindRegistry::Find(KIND_TABLE);
    void* lines = kind->FromLines({L"/tmp/a.wav", L"/tmp/b c.wav"});
    ASSERT_NE(lines, nullptr);
    Text cell;
    EXPECT_EQ(AsTable(lines).Kind(), TABLE_PLAIN);
    AsTable(lines).GetCell(1, 0, cell);
    EXPECT_EQ(cell, L"/tmp/b c.wav");
    kind->Release(lines);

    Matrix m(3, 2);
    m(2, 1) = 8;
    void* made = kind->NewFromMatrix(*Shell(), m);
    ASSERT_NE(made, nullptr);
    CShellTable& t = AsTable(made);
    EXPECT_EQ(t.FieldName(1), L"X1");
    EXPECT_EQ(t.m_nStartSize, 5) << "two spare rows";
    Matrix back;
    ASSERT_TRUE(kind->ToMatrix(made, {}, back));
    EXPECT_EQ(back(2, 1), 8);
    EXPECT_FALSE(kind->ToMatrix(made, L"out", back));
    kind->Release(made);
}

TEST_F(TableMacro, InternalErrorReportUsesTheTableDescription) {
    auto* t = new CShellTable(m_env, TABLE_PARAMETER, 1);
    t->AddRef();
    delete t; // two shares still counted
    bool found = false;
    for (const Text& line : m_window.Lines())
        if (line.find(L"Internal error: CShellTable ") == 0 &&
            line.find(L"(parameter table), usage count 2 decomposing with m_nShare=2 (should be 0).") !=
                Text::npos)
            found = true;
    EXPECT_TRUE(found);
}

} // namespace
