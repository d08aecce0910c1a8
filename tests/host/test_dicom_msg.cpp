#include <DICOM/Dicom_DS.h>
#include <DICOM/Dicom_Dictionary.h>
#include <DICOM/Dicom_FL.h>
#include <DICOM/Dicom_LO.h>
#include <DICOM/Dicom_Msg.h>
#include <DICOM/Dicom_OW.h>
#include <DICOM/Dicom_SQ.h>
#include <DICOM/Dicom_SS.h>
#include <DICOM/Dicom_US.h>
#include <gtest/gtest.h>

#include <string>
#include <typeinfo>

TEST(DicomMsg, ValuesAreOfTheDictionarysClass) {
    using namespace std::string_literals;
    const auto shortType = &typeid(Dicom_US), decimal = &typeid(Dicom_DS);
    const struct {
        const char* name;
        unsigned int tag;
        const char* claimed;
        std::string bytes;
        bool signedPixels;
        const std::type_info* type;
        double first;
    } rows[] = {
        {"decimal claimed text", 0x00281050, "LO", "40", false, decimal, 40},
        {"decimal claimed float", 0x00281053, "FL", "\0\0\xC0\x3F"s, false, decimal, 1.5},
        {"long too large for short", 0x00280010, "UL", "\xFF\xFF\xFF\xFF", false, shortType, 65535},
        {"padding says SS", 0x00280120, "SS", "\x30\xF8", false, &typeid(Dicom_SS), -2000},
        {"padding says US", 0x00280120, "US", "\x30\xF8", true, shortType, 63536},
        {"padding, signed pixels", 0x00280120, "UN", "\x30\xF8", true, &typeid(Dicom_SS), -2000},
        {"descriptor stays unsigned", 0x00281101, "SS", "\xFF\xFF", true, shortType, 65535},
        {"our private one, unknown to others", 0x7B211005, "UN", "12.5", false, decimal, 12.5},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Dicom_Msg msg;
        if (row.signedPixels) msg.PutBytes(Dicom_Tag(0x00280103), "US", "\1\0", 2);
        EXPECT_EQ(msg.PutBytes(Dicom_Tag(row.tag), row.claimed, row.bytes.data(), row.bytes.size()), 1);
        const Dicom_Type* const value = msg.Get(Dicom_Tag(row.tag));
        ASSERT_NE(value, nullptr);
        EXPECT_EQ(typeid(*value), *row.type);
        EXPECT_EQ(msg.GetDouble(Dicom_Tag(row.tag), -7), row.first);
    }
}

TEST(DicomMsg, WhatCannotBeStoredChangesNothing) {
    Dicom_Msg msg;
    const Dicom_Tag center(0x00281050);
    EXPECT_EQ(msg.Put(center, Dicom_DS(40)), 1);
    EXPECT_EQ(msg.Put(center, Dicom_SQ()), 0);
    EXPECT_EQ(msg.PutBytes(center, "DS", nullptr, 2), 0);
    EXPECT_EQ(msg.PutBytes(center, "SQ", "40", 2), 0);
    EXPECT_EQ(msg.AddItem(center), nullptr);
    EXPECT_EQ(msg.GetElements().size(), 1u);
    EXPECT_EQ(msg.GetDouble(center, 0), 40);
    EXPECT_EQ(msg.PutBytes(center, "DS", nullptr, 0), 1);
    EXPECT_TRUE(*msg.Get(center) == DS_NULL) << "present without content";
    EXPECT_TRUE(msg.Remove(center));
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

TEST(DicomDictionary, FindsByTagKeywordAndFileBlock) {
    const Dicom_DictionaryEntry* const map = Dicom_Dictionary::Find("MIREL_COLOR_MAP_UID");
    EXPECT_EQ(Dicom_Dictionary::FromFileElement(0x42, 0x4204), map);
    EXPECT_EQ(Dicom_Dictionary::FromFileElement(0x42, 0x4304), nullptr) << "another block";
    EXPECT_EQ(Dicom_Dictionary::FromFileElement(0x00, 0x0004), nullptr) << "no block number";
}
