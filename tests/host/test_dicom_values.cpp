#include <DICOM/Dicom_CS.h>
#include <DICOM/Dicom_DS.h>
#include <DICOM/Dicom_FL.h>
#include <DICOM/Dicom_LO.h>
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
        const char* name;
        const char* text;
        bool hasValue;
        double first;
    } rows[] = {
        {"plain", "40", true, 40.0},
        {"padded", "  -1024.5 ", true, -1024.5},
        {"zero terminated", "7\0", true, 7.0},
        {"plus", "+3.25", true, 3.25},
        {"exponent", "1.5E+02", true, 150.0},
        {"no leading digit", ".5", true, 0.5},
        {"several", "40\\50", true, 40.0},
        {"first one empty", "\\50", true, 0.0},
        {"empty", "", false, 0.0},
        {"blanks", "    ", false, 0.0},
        {"word", "abc", false, 0.0},
        {"comma", "1,5", false, 0.0},
        {"rest behind the number", "12abc", false, 0.0},
        {"two signs", "+-5", false, 0.0},
        {"not a number", "nan", false, 0.0},
        {"infinity", "inf", false, 0.0},
        {"hexadecimal", "0x10", false, 0.0},
        {"only a point", ".", false, 0.0},
        {"only an exponent", "e5", false, 0.0},
        {"too large", "1e400", true, DBL_MAX},
        {"far too large", "-1e99999999999999999999", true, -DBL_MAX},
        {"long and too small", "0.00001e-400", true, 0.0},
        {"far too small", "123456789e-99999999999", true, 0.0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::unique_ptr<Dicom_Type> value = FromText("DS", row.text);
        EXPECT_EQ(*value != DS_NULL, row.hasValue);
        EXPECT_EQ(double(*static_cast<const Dicom_DS*>(value.get())), row.first);
    }
}

TEST(DicomValues, DecimalStringsAreWrittenWithinSixteenCharacters) {
    const struct {
        double number;
        const wchar_t* text;
    } rows[] = {
        {0.0, L"0"},
        {-0.0, L"0"},
        {100000.0, L"100000"},
        {0.1, L"0.1"},
        {-1024.0, L"-1024"},
        {1.0 / 3.0, L"0.33333333333333"},
        {-1.0 / 3.0, L"-0.3333333333333"},
        {1e-7, L"1e-7"},
        {-1.2345678901234567e-5, L"-1.2345678901e-5"},
        {123456789012345678.0, L"1.23456789012e17"},
        {DBL_MAX, L"1.7976931349e308"},
        {INFINITY, L"1.7976931349e308"},
        {NAN, L""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.number);
        EXPECT_EQ(WholeText(Dicom_DS(row.number)), row.text);
    }
    EXPECT_EQ(double(Dicom_DS(INFINITY)), DBL_MAX);
    // Every whole number that a window can be survives.
    for (int number : {INT_MIN, -100000, -1, 99999, 1000000, INT_MAX}) {
        EXPECT_EQ(double(Dicom_DS(number)), number);
        EXPECT_EQ(WholeText(Dicom_DS(number)), std::to_wstring(number));
    }
}

TEST(DicomValues, Equality) {
    const struct {
        const char* name;
        const char* vr;
        std::string left;
        const char* otherVr;
        std::string right;
        bool equal;
        bool match;
    } rows[] = {
        {"numbers, not digits", "DS", "0", "DS", "0.00e0 ", true, true},
        {"value by value", "DS", "40\\50", "DS", "4e1\\+50", true, true},
        {"other count", "DS", "40\\50", "DS", "40", false, true},
        {"decimal and binary", "DS", "256", "US", std::string("\0\1", 2), true, true},
        {"text padding", "CS", "LOCALIZER ", "CS", "LOCALIZER", true, true},
        {"one of several", "CS", "ORIGINAL\\PRIMARY\\LOCALIZER ", "CS", "LOCALIZER", false, true},
        {"part of a word", "CS", "LOCALIZERS", "CS", "LOCALIZER", false, false},
        {"case", "CS", "localizer", "CS", "LOCALIZER", false, false},
        {"both empty", "CS", "  ", "LO", "", true, false},
        {"empty single values don't match", "CS", "A\\\\B", "CS", "\\C", false, false},
        {"text is not read as a number", "CS", "1", "CS", "1.0", false, false},
        {"not numbers", "DS", "abc\\5", "DS", "x\\5", true, true},
        {"bytes", "OB", "abcd", "OW", "abcd", true, true},
        {"other bytes", "OB", "abcd", "OW", "abce", false, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::unique_ptr<Dicom_Type> left = FromText(row.vr, row.left);
        const std::unique_ptr<Dicom_Type> right = FromText(row.otherVr, row.right);
        EXPECT_EQ(*left == *right, row.equal);
        EXPECT_EQ(*right == *left, row.equal);
        EXPECT_EQ(*left != *right, !row.equal);
        EXPECT_EQ(left->Match(*right) != 0, row.match);
        EXPECT_EQ(right->Match(*left) != 0, row.match);
    }
    // A number that is not one still is a value.
    EXPECT_TRUE(Dicom_FL(NAN) != FL_NULL);
}

TEST(DicomValues, TextKeepsItsBytes) {
    const struct {
        const char* name;
        const char* vr;
        std::string bytes;
        std::wstring text;
        std::string dump;
    } rows[] = {
        {"odd", "LO", "abc", L"abc", "abc "},
        {"blanks on both sides", "LO", " abc  ", L"abc", " abc  "},
        {"long text keeps blanks in front", "LT", " a\\b ", L" a\\b", " a\\b  "},
        {"identifier", "UI", std::string("1.2\0", 4), L"1.2", std::string("1.2\0", 4)},
        {"UTF-8", "LO", "M\xC3\xBCll", L"M\u00FCll", "M\xC3\xBCll "},
        {"four bytes", "LO", "\xF0\x9F\x98\x80", L"\U0001F600", "\xF0\x9F\x98\x80"},
        {"Latin-1", "LO", "M\xFCll", L"M\u00FCll", "M\xFCll"},
        {"overlong is no UTF-8", "LO", "\xC0\xAF", L"\u00C0\u00AF", "\xC0\xAF"},
        {"cut off", "LO", "ab\xE2\x82", L"ab\u00E2\u0082", "ab\xE2\x82"},
        {"surrogate", "LO", "\xED\xA0\x80 ", L"\u00ED\u00A0\u0080", "\xED\xA0\x80 "},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::unique_ptr<Dicom_Type> value = FromText(row.vr, row.bytes);
        EXPECT_EQ(WholeText(*value), row.text);
        EXPECT_EQ(DumpOf(*value), row.dump);
    }
}

TEST(DicomValues, ConstructorsTellWhatIsWrong) {
    int status = 7;
    Dicom_CS("MONOCHROME2", &status);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(Dicom_CS(nullptr, &status) == CS_NULL);
    EXPECT_EQ(status, -1);
    EXPECT_EQ(WholeText(Dicom_CS("yes", &status)), L"yes");
    EXPECT_EQ(status, -2);
    EXPECT_TRUE(Dicom_LO(nullptr, &status) == LO_NULL);
    EXPECT_EQ(status, -1);
    EXPECT_EQ(WholeText(Dicom_LO(std::wstring(65, L'x').c_str(), &status)).size(), 65u);
    EXPECT_EQ(status, -2);
    EXPECT_EQ(Dicom_OW(nullptr, 4, 1, &status, false).GetDumpLen().GetDumpLen(), 0u);
    EXPECT_EQ(status, -1);

    unsigned char* const owned = new unsigned char[3]{1, 2, 3};
    const Dicom_OW bytes(owned, 3, 1, &status, true);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(DumpOf(bytes), std::string("\1\2\3\0", 4));
    unsigned short words[] = {0x0102, 0xFFFE};
    EXPECT_EQ(DumpOf(Dicom_OW(words, 4, 2, nullptr, false)), "\x02\x01\xFE\xFF");
}

TEST(DicomValues, NumbersJoinAssignAndLimit) {
    Dicom_US descriptor = Dicom_US(256) | Dicom_US(0) | Dicom_US(8);
    EXPECT_EQ(DumpOf(descriptor), std::string("\0\1\0\0\10\0", 6));
    EXPECT_EQ(static_cast<unsigned short>(descriptor[2]), 8);
    EXPECT_EQ(static_cast<unsigned short>(descriptor[3]), 0);
    EXPECT_EQ(static_cast<unsigned short>(descriptor[-1]), 0);

    Dicom_DS decimals;
    static_cast<Dicom_StringType&>(decimals) = descriptor;
    EXPECT_EQ(WholeText(decimals), L"256\\0\\8");
    EXPECT_STREQ(decimals.m_VR, "DS");

    const struct {
        const char* text;
        int us;
        int ss;
    } rows[] = {{"-1.9", 0, -1}, {"40000", 40000, 32767}, {"1e300", 65535, 32767}, {"-1e300", 0, -32768}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        Dicom_US us;
        Dicom_SS ss;
        us.Assign(*FromText("DS", row.text));
        ss.Assign(*FromText("DS", row.text));
        EXPECT_EQ(static_cast<unsigned short>(us), row.us);
        EXPECT_EQ(static_cast<short>(ss), row.ss);
    }
    EXPECT_FALSE(Dicom_US(1).Assign(Dicom_SQ()));
    EXPECT_EQ(WholeText(*FromText("FL", std::string("\0\0\xC0\x3F", 4))), L"1.5");
    EXPECT_EQ(FromText("US", "abc")->GetVM(), 1u) << "a trailing half is dropped";
}
