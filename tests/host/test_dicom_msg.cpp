#include <DICOM/Dicom_Dictionary.h>
#include <DICOM/Dicom_FL.h>
#include <DICOM/Dicom_LO.h>
#include <DICOM/Dicom_OW.h>
#include <DICOM/Dicom_SQ.h>
#include <DICOM/Dicom_SS.h>
#include <DICOM/Dicom_US.h>
#include <KIT/KIT_OBJHelper.h>
#include <OBJ/OBJ_Msg.h>
#include <SPC/SPC_Modality.h>
#include <gtest/gtest.h>

#include <string>
#include <typeinfo>

namespace {

void PutText(Dicom_Msg& msg, unsigned int tag, const char* vr, const std::string& bytes) {
    EXPECT_EQ(msg.PutBytes(Dicom_Tag(tag), vr, bytes.data(), bytes.size()), 1);
}

}  // namespace

TEST(DicomMsg, ValuesAreOfTheDictionarysClass) {
    const struct {
        const char* name;
        unsigned int tag;
        const char* claimed;
        std::string bytes;
        bool signedPixels;
        const std::type_info& type;
        const char* vr;
        double first;
    } rows[] = {
        {"as it should be", 0x00281050, "DS", "40 ", false, typeid(Dicom_DS), "DS", 40},
        {"decimal claimed text", 0x00281050, "LO", "40", false, typeid(Dicom_DS), "DS", 40},
        {"decimal claimed float", 0x00281053, "FL", std::string("\0\0\xC0\x3F", 4), false, typeid(Dicom_DS),
         "DS", 1.5},
        {"decimal claimed unknown", 0x00281052, "UN", "-1024 ", false, typeid(Dicom_DS), "DS", -1024},
        {"no representation", 0x00280010, nullptr, std::string("\0\2", 2), false, typeid(Dicom_US), "US",
         512},
        {"nonsense representation", 0x00280010, "?!", std::string("\0\2", 2), false, typeid(Dicom_US), "US",
         512},
        {"short claimed long", 0x00280010, "UL", std::string("\0\2\0\0", 4), false, typeid(Dicom_US), "US",
         512},
        {"long too large for short", 0x00280010, "UL", "\xFF\xFF\xFF\xFF", false, typeid(Dicom_US), "US",
         65535},
        {"short claimed text", 0x00280010, "IS", "512 ", false, typeid(Dicom_US), "US", 512},
        {"padding says SS", 0x00280120, "SS", "\x30\xF8", false, typeid(Dicom_SS), "SS", -2000},
        {"padding says US", 0x00280120, "US", "\x30\xF8", true, typeid(Dicom_US), "US", 63536},
        {"padding, signed pixels", 0x00280120, "UN", "\x30\xF8", true, typeid(Dicom_SS), "SS", -2000},
        {"padding, unsigned pixels", 0x00280120, "OW", "\x30\xF8", false, typeid(Dicom_US), "US", 63536},
        {"descriptor stays unsigned", 0x00281101, "SS", "\xFF\xFF", true, typeid(Dicom_US), "US", 65535},
        {"unknown attribute", 0x00091001, "FL", std::string("\0\0\xC0\x3F", 4), false, typeid(Dicom_FL), "FL",
         1.5},
        {"unknown short text", 0x00091002, "SH", "12", false, typeid(Dicom_Text), "SH", 12},
        {"our private one, unknown to others", 0x7B211005, "UN", "12.5", false, typeid(Dicom_DS), "DS", 12.5},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Dicom_Msg msg;
        if (row.signedPixels) PutText(msg, 0x00280103, "US", std::string("\1\0", 2));
        PutText(msg, row.tag, row.claimed, row.bytes);
        const Dicom_Type* const value = msg.Get(Dicom_Tag(row.tag));
        ASSERT_NE(value, nullptr);
        EXPECT_EQ(typeid(*value), row.type);
        EXPECT_STREQ(value->m_VR, row.vr);
        EXPECT_EQ(msg.GetDouble(Dicom_Tag(row.tag), -7), row.first);
    }
}

TEST(DicomMsg, WhatCannotBeStoredChangesNothing) {
    Dicom_Msg msg;
    const Dicom_Tag center(0x00281050);
    const Dicom_Tag sequence(0x00283010);
    EXPECT_EQ(msg.Put(center, Dicom_DS(40)), 1);
    EXPECT_EQ(msg.Put(center, Dicom_SQ()), 0);
    EXPECT_EQ(msg.PutBytes(center, "DS", nullptr, 2), 0);
    EXPECT_EQ(msg.PutBytes(center, "SQ", "40", 2), 0);
    EXPECT_EQ(msg.PutBytes(sequence, "UN", "40", 2), 0);
    EXPECT_EQ(msg.AddItem(center), nullptr);
    EXPECT_EQ(msg.AddItem(Dicom_Tag(0x00281051)), nullptr);
    EXPECT_EQ(msg.GetElements().size(), 1u);
    EXPECT_EQ(msg.GetDouble(center, 0), 40);
    EXPECT_EQ(msg.PutBytes(center, "DS", nullptr, 0), 1);
    EXPECT_TRUE(*msg.Get(center) == DS_NULL) << "present without content";
    EXPECT_EQ(msg.FindElement(center, 1), nullptr);
    EXPECT_TRUE(msg.Remove(center));
    EXPECT_FALSE(msg.Remove(center));
    EXPECT_EQ(msg.FindElement(center, 0), nullptr);
}

TEST(DicomMsg, PutConvertsAndReservesOurBlock) {
    Dicom_Msg msg;
    EXPECT_EQ(msg.Put(Dicom_Dictionary::MIREL_AUTO_WIN_CENTER, Dicom_FL(40.5f)), 1);
    EXPECT_STREQ(msg.FindElement(Dicom_Dictionary::MIREL_AUTO_WIN_CENTER, 0)->m_pValue->m_VR, "DS");
    ASSERT_NE(msg.Get(Dicom_Dictionary::PRIVATE_CREATOR), nullptr);
    EXPECT_EQ(msg.Get(Dicom_Dictionary::PRIVATE_CREATOR)->GetText(0), L"ZEV PRESENTATION 1");
    EXPECT_EQ(msg.GetElements().begin()->first, 0x7B210010u) << "the creator stands in front";

    // Putting a message's own value back must not read what was just deleted.
    const Dicom_Tag name(0x00081030);
    msg.Put(name, Dicom_LO(L"a description that is not short", nullptr));
    msg.Put(name, *msg.Get(name));
    EXPECT_EQ(msg.Get(name)->GetText(0), L"a description that is not short");
}

TEST(DicomMsg, CopiesShareNothing) {
    Dicom_Msg msg;
    Dicom_Msg* const item = msg.AddItem(Dicom_Tag(0x00283010));
    ASSERT_NE(item, nullptr);
    item->Put(Dicom_Tag(0x00283003), Dicom_LO(L"one", nullptr));
    item->AddItem(Dicom_Tag(0x00091010))->Put(Dicom_Tag(0x00091011), Dicom_FL(1.0f));
    const Dicom_Msg copy(msg);
    Dicom_Msg assigned;
    assigned.Put(Dicom_Tag(0x00281050), Dicom_DS(1));
    assigned = msg;
    EXPECT_TRUE(copy == msg && assigned == msg);
    item->Put(Dicom_Tag(0x00283003), Dicom_LO(L"two", nullptr));
    EXPECT_TRUE(copy != msg && assigned != msg);
    EXPECT_EQ(copy.GetSequence(Dicom_Tag(0x00283010))->GetItem(0)->Get(Dicom_Tag(0x00283003))->GetText(0),
              L"one");
    EXPECT_EQ(copy.GetSequence(Dicom_Tag(0x00283010))->GetItem(1), nullptr);
    msg = *&msg;
    EXPECT_EQ(msg.GetElements().size(), 1u);
}

TEST(DicomDictionary, FindsByTagKeywordAndFileBlock) {
    const Dicom_DictionaryEntry* const map = Dicom_Dictionary::Find("MIREL_COLOR_MAP_UID");
    ASSERT_NE(map, nullptr);
    EXPECT_EQ(map->m_Tag, Dicom_Dictionary::MIREL_COLOR_MAP_UID.GetTag());
    EXPECT_EQ(Dicom_Dictionary::Find(Dicom_Tag(0x00281050)), Dicom_Dictionary::Find("WindowCenter"));
    EXPECT_EQ(Dicom_Dictionary::Find("windowcenter"), nullptr);
    EXPECT_EQ(Dicom_Dictionary::Find(static_cast<const char*>(nullptr)), nullptr);
    EXPECT_EQ(Dicom_Dictionary::Find(Dicom_Tag(0xFFFFFFFF)), nullptr);
    EXPECT_EQ(Dicom_Dictionary::FromFileElement(0x42, 0x4204), map);
    EXPECT_EQ(Dicom_Dictionary::FromFileElement(0x42, 0x4304), nullptr) << "another block";
    EXPECT_EQ(Dicom_Dictionary::FromFileElement(0x42, 0x42FF), nullptr) << "none of ours";
    EXPECT_EQ(Dicom_Dictionary::FromFileElement(0x00, 0x0004), nullptr) << "no block number";
}

TEST(ObjMsg, BogusWithoutRowsOrColumns) {
    const struct {
        const char* name;
        int rows;
        int columns;
        bool bogus;
    } rows[] = {{"image", 1, 1, false},
                {"no rows", -1, 1, true},
                {"no columns", 1, -1, true},
                {"zero rows", 0, 1, true},
                {"zero columns", 1, 0, true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        OBJ_Msg msg;
        if (row.rows >= 0) msg.Put(Dicom_Tag(0x00280010), Dicom_US(static_cast<unsigned short>(row.rows)));
        if (row.columns >= 0)
            msg.Put(Dicom_Tag(0x00280011), Dicom_US(static_cast<unsigned short>(row.columns)));
        EXPECT_EQ(KIT_OBJHelper::IsBogus(&msg), row.bogus);
    }
    EXPECT_TRUE(KIT_OBJHelper::IsBogus(nullptr));
}

TEST(ObjMsg, InverseWindowReadsBack) {
    OBJ_Msg msg;
    EXPECT_TRUE(msg.GetPhotometricInterpretation() == CS_NULL);
    EXPECT_EQ(msg.SetInverseWindow(Dicom_CS("Y", nullptr)), 1);
    EXPECT_TRUE(*msg.Get(Dicom_Dictionary::ORNEL1_INVERSE_WINDOW) == Dicom_CS("Y", nullptr));
}

TEST(SpcModality, TextsAndValues) {
    const struct {
        const wchar_t* text;
        int configured;
        int ofImage;
        const wchar_t* name;
    } rows[] = {{L"CR", 0, 0, L"CR"},   {L"NM", 4, 4, L"NM"},   {L"MG", 10, 10, L"MG"},
                {L"PT", 11, 11, L"PT"}, {L"ct", -1, 8, L"OT"},  {L"CT ", -1, 8, L"OT"},
                {L"", -1, 8, L"OT"},    {nullptr, -1, 8, L"OT"}};
    for (const auto& row : rows) {
        EXPECT_EQ(SPC_Modality::ModalityStr2Enum(row.text), row.configured);
        const SPC_Modality modality(row.text);
        EXPECT_EQ(modality.GetModality(), row.ofImage);
        EXPECT_STREQ(modality.GetModalityName(), row.name);
        EXPECT_STREQ(modality.GetName(), "SPC_Modality");
    }
    EXPECT_STREQ(SPC_Modality(SPC_Modality::MODALITY_UNKNOWN).GetModalityName(), L"");

    SPC_Modality target(SPC_Modality::MODALITY_CT);
    KIT_BaseParams& base = target;
    base = SPC_Modality(SPC_Modality::MODALITY_PT);
    EXPECT_EQ(target.GetModality(), SPC_Modality::MODALITY_PT);
}
