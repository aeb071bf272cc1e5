#include <gtest/gtest.h>

#include <array>
#include <ctime>
#include <regex>
#include <set>

#include "Host.h"

namespace {

class FileComments : public testing::Test {
  protected:
    int32_t Save(const Comments *comments = nullptr) {
        return SavePicture(m_Name, m_Picture, FILTER_FORMAT_DICOM_GRAY, 0, comments);
    }
    /** Text of an element of the saved file. */
    std::string Stored(uint32_t tag) {
        MDicomDS ds(nullptr);
        EXPECT_EQ(ds.LoadDS(m_Name.c_str(), 0), DICOM_SUCCESS);
        return support::StoredText(ds, tag);
    }

    support::TemporaryFolder m_Folder;
    std::wstring m_Name = m_Folder.WideFile("picture.dcm");
    Picture m_Picture{4, 4, 8, KERNEL_ORDER_RGB};
};

TEST_F(FileComments, HaveDefaults) {
    std::array<char, 16> today{};
    const std::time_t now = std::time(nullptr);
    std::strftime(today.data(), today.size(), "%Y%m%d", std::localtime(&now));
    ASSERT_EQ(Save(), FILTER_SUCCESS);
    const std::pair<uint32_t, const char *> defaults[] = {
        {10, "John^Doe"},      {11, "123-45-6789"}, {12, "19970112"}, {13, "M"},
        {15, today.data()}, // unless midnight passed just now
        {17, "Reffering^Doe"}, {18, "OT"},          {20, "1"},
    };
    for (const auto &[id, text] : defaults) EXPECT_EQ(CommentOf(m_Name, id), text) << id;
    EXPECT_TRUE(std::regex_match(CommentOf(m_Name, 16), std::regex("[0-9]{6}\\.[0-9]{3}")));
    EXPECT_EQ(Stored(0x00080016), "1.2.840.10008.5.1.4.1.1.7");
    EXPECT_EQ(Stored(0x00080018), Stored(0x00020003));
    EXPECT_EQ(CommentOf(m_Name, 19) + ".1", Stored(0x00080018));
    EXPECT_EQ(CommentOf(m_Name, 14) + ".1", CommentOf(m_Name, 19));
}

TEST_F(FileComments, NameEachFileAnew) {
    const std::regex valid("(0|[1-9][0-9]*)(\\.(0|[1-9][0-9]*))+");
    std::set<std::string> uids;
    for (int i = 0; i < 20; ++i) {
        ASSERT_EQ(Save(), FILTER_SUCCESS);
        const std::string uid = Stored(0x00080018);
        EXPECT_TRUE(std::regex_match(uid, valid)) << uid;
        EXPECT_LE(uid.size(), 64u);
        uids.insert(uid);
    }
    EXPECT_EQ(uids.size(), 20u);
}

TEST_F(FileComments, OfTheTableGoBeforeDefaultsAndAreCut) {
    const std::string longName = std::string(70, 'A') + "=" + std::string(70, 'B');
    const Comments given = {{10, longName.c_str()}, {11, ""},        {12, "20010203 and so on"},
                            {17, "M\xC3\xBCller"},  {19, "1.2.3.4"}, {20, "-17 apples"}};
    const std::string cutName = std::string(64, 'A') + "=" + std::string(64, 'B');
    const Comments expected = {{10, cutName.c_str()}, {11, ""},        {12, "20010203"}, {13, "M"},
                               {17, "M\xC3\xBCller"}, {19, "1.2.3.4"}, {20, "-17"}};
    ASSERT_EQ(Save(&given), FILTER_SUCCESS);
    for (const auto &[id, text] : expected) EXPECT_EQ(CommentOf(m_Name, id), text) << id;
    EXPECT_EQ(Stored(0x00080005), "ISO_IR 192");
    const Comments latin = {{17, "M\xFCller"}};
    ASSERT_EQ(Save(&latin), FILTER_SUCCESS);
    EXPECT_EQ(Stored(0x00080005), "ISO_IR 100");
}

TEST_F(FileComments, FitTheBuffer) {
    const Comments comments = {{10, "Abcde"}, {20, "123"}};
    ASSERT_EQ(Save(&comments), FILTER_SUCCESS);
    struct {
        uint32_t id;
        uint32_t room;
        int32_t result;
        const char *text;
    } const kCases[] = {
        {10, 0, 6, "#"},        {10, 6, 6, "Abcde"},     {10, 4, 4, "Abc"}, {10, 1, 1, ""},
        {20, 0, 4, "#"},        {20, 4, 4, "123"},       {20, 3, 3, "12"},  {20, 1, 1, ""},
        {9, 8, 0, "#########"}, {21, 8, 0, "#########"},
    };
    for (const auto &[id, room, result, text] : kCases) {
        std::string got;
        EXPECT_EQ(ReadComment(m_Name, id, room, &got), result) << id << " in " << room;
        EXPECT_EQ(got, text);
    }
}

TEST_F(FileComments, AreThoseOfTheTopLevelWhateverTheirVr) {
    support::Encoder file;
    file.Meta(support::kExplicitUid);
    support::Encoder item;
    item.Element(0x0020000E, "UI", "9.9.9.9 ");
    file.Header(0x00081115, "SQ", static_cast<uint32_t>(item.bytes.size()) + 8);
    file.Plain(TAG_ITEM, static_cast<uint32_t>(item.bytes.size()));
    file.bytes.insert(file.bytes.end(), item.bytes.begin(), item.bytes.end());
    file.Element(0x00100010, "OB", "0123456789");
    file.Element(0x0020000E, "UI", "1.2.3.45");
    support::WriteFile(m_Folder.File("picture.dcm"), file.bytes);
    EXPECT_EQ(CommentOf(m_Name, 19), "1.2.3.45");
    EXPECT_EQ(CommentOf(m_Name, 14), "");
    EXPECT_EQ(CommentOf(m_Name, 20), "0");
    std::string text;
    EXPECT_EQ(ReadComment(m_Name, 10, 8, &text), 8) << "bytes without a NUL of their own";
    EXPECT_EQ(text, "0123456");
}

} // namespace
