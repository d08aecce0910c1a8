#include <DICOM/Dicom_CS.h>
#include <DICOM/Dicom_DS.h>
#include <DICOM/Dicom_FL.h>
#include <DICOM/Dicom_LO.h>
#include <DICOM/Dicom_Msg.h>
#include <DICOM/Dicom_OW.h>
#include <DICOM/Dicom_SQ.h>
#include <DICOM/Dicom_SS.h>
#include <DICOM/Dicom_US.h>
#include <OBJ/OBJ_Image.h>
#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstring>
#include <string>

namespace {

std::unique_ptr<Dicom_Type> FromText(const char* vr, const std::string& bytes) {
    return Dicom_Type::FromBytes(vr, bytes.data(), bytes.size());
}

std::wstring WholeText(const Dicom_Type& value) {
    wchar_t* const text = value;
    const std::wstring copy(text);
    delete[] text;
    return copy;
}

std::string DumpOf(const Dicom_Type& value) {
    std::string bytes(value.GetDumpLen().GetDumpLen(), '?');
    EXPECT_EQ(value.Dump(&bytes[0]).GetDumpLen(), bytes.size());
    return bytes;
}

/// What static initialisers see, which run in an order that nobody chose.
const bool constantsWereReady = DS_NULL == Dicom_DS() && OBJ_Image::CT == Dicom_CS("CT", nullptr);

}  // namespace

TEST(DicomValues, ConstantsServeStaticInitialisers) { EXPECT_TRUE(constantsWereReady); }

TEST(DicomValues, DecimalStringsAreReadWholeOrNotAtAll) {
    const struct {
        const char* text;
        bool hasValue;
        double first;
    } rows[] = {{"  -1024.5 ", true, -1024.5},
                {"1.5E+02", true, 150.0},
                {".5", true, 0.5},
                {"40\\50", true, 40.0},
                {"\\50", true, 0.0},
                {"    ", false, 0.0},
                {"1,5", false, 0.0},
                {"12abc", false, 0.0},
                {"+-5", false, 0.0},
                {"nan", false, 0.0},
                {"0x10", false, 0.0},
                {".", false, 0.0},
                {"e5", false, 0.0},
                {"1e400", true, DBL_MAX},
                {"-1e99999999999999999999", true, -DBL_MAX},
                {"1e-99999999999", true, 0.0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        const std::unique_ptr<Dicom_Type> value = FromText("DS", row.text);
        EXPECT_EQ(*value != DS_NULL, row.hasValue);
        EXPECT_EQ(double(*static_cast<const Dicom_DS*>(value.get())), row.first);
    }
}

TEST(DicomValues, DecimalStringsAreWrittenWithinSixteenCharacters) {
    const std::pair<double, const wchar_t*> rows[] = {{-0.0, L"0"},
                                                      {0.1, L"0.1"},
                                                      {-1.0 / 3.0, L"-0.3333333333333"},
                                                      {1e-7, L"1e-7"},
                                                      {NAN, L""},
                                                      {-1.2345678901234567e-5, L"-1.2345678901e-5"},
                                                      {123456789012345678.0, L"1.23456789012e17"},
                                                      {INFINITY, L"1.7976931349e308"}};
    for (const auto& row : rows) EXPECT_EQ(WholeText(Dicom_DS(row.first)), row.second);
    EXPECT_EQ(double(Dicom_DS(INFINITY)), DBL_MAX);
    // Every whole number that a window can be survives.
    for (int number : {INT_MIN, -100000, 0, 1000000, INT_MAX})
        EXPECT_EQ(WholeText(Dicom_DS(number)), std::to_wstring(number));
}

TEST(DicomValues, Equality) {
    const struct {
        const char* name;
        const char *vr, *left, *otherVr;
        std::string right;
        bool equal, match;
    } rows[] = {
        {"numbers, not digits", "DS", "0", "DS", "0.00e0 ", true, true},
        {"value by value", "DS", "40\\50", "DS", "4e1\\+50", true, true},
        {"decimal and binary", "DS", "256", "US", std::string("\0\1", 2), true, true},
        {"text padding", "CS", "LOCALIZER ", "CS", "LOCALIZER", true, true},
        {"one of several", "CS", "ORIGINAL\\PRIMARY\\LOCALIZER ", "CS", "LOCALIZER", false, true},
        {"both empty", "CS", "  ", "LO", "", true, false},
        {"empty single values don't match", "CS", "A\\\\B", "CS", "\\C", false, false},
        {"text is not read as a number", "CS", "1", "CS", "1.0", false, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::unique_ptr<Dicom_Type> left = FromText(row.vr, row.left);
        const std::unique_ptr<Dicom_Type> right = FromText(row.otherVr, row.right);
        EXPECT_EQ(*left == *right, row.equal);
        EXPECT_EQ(left->Match(*right) != 0, row.match);
        EXPECT_EQ(right->Match(*left) != 0, row.match);
    }
    // A number that is not one still is a value.
    EXPECT_TRUE(Dicom_FL(NAN) != FL_NULL);
}

TEST(DicomValues, TextKeepsItsBytes) {
    const struct {
        const char *name, *vr;
        std::string bytes;
        std::wstring text;
        std::string dump;
    } rows[] = {
        {"long text keeps blanks in front", "LT", " a\\b ", L" a\\b", " a\\b  "},
        {"identifier", "UI", std::string("1.2\0", 4), L"1.2", std::string("1.2\0", 4)},
        {"UTF-8", "LO", "M\xC3\xBCll", L"M\u00FCll", "M\xC3\xBCll "},
        {"Latin-1", "LO", "M\xFCll", L"M\u00FCll", "M\xFCll"},
        {"overlong is no UTF-8", "LO", "\xC0\xAF", L"\u00C0\u00AF", "\xC0\xAF"},
        {"surrogate", "LO", "\xED\xA0\x80 ", L"\u00ED\u00A0\u0080", "\xED\xA0\x80 "},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::unique_ptr<Dicom_Type> value = FromText(row.vr, row.bytes);
        EXPECT_EQ(WholeText(*value), row.text);
        EXPECT_EQ(DumpOf(*value), row.dump);
    }
}

TEST(DicomValues, TextFollowsTheSpecificCharacterSet) {
    const struct {
        const char *set, *vr;
        std::string bytes;
        std::wstring text;
    } rows[] = {
        {"ISO_IR 100", "LO", "Caf\xC3\xA9 ", L"Caf\u00C3\u00A9"},  // valid UTF-8, and still not
        {"ISO_IR 101", "LO", "\xB1", L"\u0105"},
        {"ISO_IR 144", "PN", "\xBB\xEE\xDA", L"\u041B\u044E\u043A"},
        {"ISO_IR 13", "SH", "\xD4\xCF\xC0^\\\xC0", L"\uFF94\uFF8F\uFF80^\\\uFF80"},
        {"ISO_IR 166", "LO", "\xA1\xD2", L"\u0E01\u0E32"},
        {"ISO_IR 192", "LO", "\xE7\x8E\x8B", L"\u738B"},
        {"GB18030", "LO", "\xCD\xF5\x81\x5C", L"\u738B\u4E57"},
        {"GBK", "LO", "\xCD\xF5", L"\u738B"},
        {"\\ISO 2022 IR 87", "PN", "Yamada=\x1B$B;3ED\x1B(B^\x1B$BB@O:\x1B(B",
         L"Yamada=\u5C71\u7530^\u592A\u90CE"},
        {"\\ISO 2022 IR 87\\ISO 2022 IR 159", "LO", "\x1B$(D0!\x1B(B", L"\u4E02"},
        {"\\ISO 2022 IR 149", "PN", "\x1B$)C\xB1\xE8^\x1B$)C\xC8\xF1", L"\uAE40^\uD76C"},
        {"\\ISO 2022 IR 58", "LO", "\x1B$)A\xCD\xF5 a", L"\u738B a"},
        {"ISO 2022 IR 100\\ISO 2022 IR 144", "LO", "\xE9 \x1B-L\xBB\\\xE9", L"\u00E9 \u041B\\\u00E9"},
        // Neither fits: read as without a character set.
        {"ISO_IR 192", "LO", "M\xFCll", L"M\u00FCll"},
        {"ISO_IR 7", "LO", "M\xC3\xBC ", L"M\u00FC"},
        {"\\ISO 2022 IR 87", "LO", "\x1B$B;", L"\x1B$B;"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.set) + ": " + row.bytes);
        Dicom_Msg msg;
        msg.PutBytes(Dicom_Tag(0x00080005), "CS", row.set, std::strlen(row.set));
        Dicom_Msg* const item = msg.AddItem(Dicom_Tag(0x00283010));
        item->PutBytes(Dicom_Tag(0x00990001), row.vr, row.bytes.data(), row.bytes.size());
        const Dicom_Type* const value = item->Get(Dicom_Tag(0x00990001));
        EXPECT_EQ(WholeText(*value), row.text);
        EXPECT_EQ(DumpOf(*value), row.bytes.size() % 2 == 0 ? row.bytes : row.bytes + ' ');
    }
    Dicom_Msg msg;
    msg.PutBytes(Dicom_Tag(0x00080005), "CS", "ISO_IR 101", 10);
    msg.Put(Dicom_Tag(0x00281055), Dicom_LO(L"\u0105\u738B", nullptr));
    EXPECT_EQ(DumpOf(*msg.Get(Dicom_Tag(0x00281055))), "\xB1?");
}

TEST(DicomValues, NumbersJoinAssignAndLimit) {
    Dicom_US descriptor = Dicom_US(256) | Dicom_US(0) | Dicom_US(8);
    EXPECT_EQ(static_cast<unsigned short>(descriptor[3]), 0);

    Dicom_DS decimals;
    static_cast<Dicom_StringType&>(decimals) = descriptor;
    EXPECT_EQ(WholeText(decimals), L"256\\0\\8");

    Dicom_US us;
    Dicom_SS ss;
    us.Assign(*FromText("DS", "-1.9")), ss.Assign(*FromText("DS", "40000"));
    EXPECT_EQ(static_cast<unsigned short>(us), 0);
    EXPECT_EQ(static_cast<short>(ss), 32767);
    EXPECT_EQ(FromText("US", "abc")->GetVM(), 1u) << "a trailing half is dropped";
}
