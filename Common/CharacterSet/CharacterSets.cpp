// The table of character sets.

#include "Common/CharacterSet/CharacterSets.h"

#include <algorithm>
#include <iterator>

#include "Common/CharacterSet/CodeExtensions.h"

namespace mdicom {

namespace {

// The place of a row is its identifier. The rows behind GB18030 have no selector.
constexpr CharacterSetRow kCharacterSets[] = {
    {"", CodePage::Default, Extension::Plain},
    {"ISO_IR 100", CodePage::Latin1, Extension::Plain},
    {"ISO_IR 101", CodePage::Latin2, Extension::Plain},
    {"ISO_IR 109", CodePage::Latin3, Extension::Plain},
    {"ISO_IR 110", CodePage::Latin4, Extension::Plain},
    {"ISO_IR 144", CodePage::Cyrillic, Extension::Plain},
    {"ISO_IR 127", CodePage::Arabic, Extension::Plain},
    {"ISO_IR 126", CodePage::Greek, Extension::Plain},
    {"ISO_IR 138", CodePage::Hebrew, Extension::Plain},
    {"ISO_IR 148", CodePage::Latin5, Extension::Plain},
    {"ISO_IR 13", CodePage::JisX0201, Extension::Plain},
    {"ISO_IR 166", CodePage::Thai, Extension::Plain},
    {"ISO 2022 IR 6", CodePage::Default, Extension::Switchable},
    {"ISO 2022 IR 100", CodePage::Latin1, Extension::Switchable},
    {"ISO 2022 IR 101", CodePage::Latin2, Extension::Switchable},
    {"ISO 2022 IR 109", CodePage::Latin3, Extension::Switchable},
    {"ISO 2022 IR 110", CodePage::Latin4, Extension::Switchable},
    {"ISO 2022 IR 144", CodePage::Cyrillic, Extension::Switchable},
    {"ISO 2022 IR 127", CodePage::Arabic, Extension::Switchable},
    {"ISO 2022 IR 126", CodePage::Greek, Extension::Switchable},
    {"ISO 2022 IR 138", CodePage::Hebrew, Extension::Switchable},
    {"ISO 2022 IR 148", CodePage::Latin5, Extension::Switchable},
    {"ISO 2022 IR 13", CodePage::JisX0201, Extension::Switchable},
    {"ISO 2022 IR 166", CodePage::Thai, Extension::Switchable},
    {"ISO 2022 IR 87", CodePage::JisX0208, Extension::Switchable},
    {"ISO 2022 IR 159", CodePage::JisX0212, Extension::Switchable},
    {"ISO 2022 IR 149", CodePage::KsX1001, Extension::Switchable},
    {"ISO_IR 192", CodePage::Utf8, Extension::Unfit},
    {"GB18030", CodePage::Gb18030, Extension::Unfit},
    {"ISO 2022 IR 58", CodePage::Gb2312, Extension::Switchable},
    {"GBK", CodePage::Gbk, Extension::Unfit},
    {"ISO_IR 203", CodePage::Latin9, Extension::Plain},
    {"ISO 2022 IR 203", CodePage::Latin9, Extension::Switchable},
};

constexpr uint32_t kKorean = 26;
constexpr uint32_t kSelectors[] = {
    charset::Default, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, kKorean, charset::Utf8, charset::Gb18030};

static_assert(kCharacterSets[charset::Utf8].page == CodePage::Utf8);
static_assert(kCharacterSets[charset::Gb18030].page == CodePage::Gb18030);
static_assert(kCharacterSets[kKorean].page == CodePage::KsX1001);

} // namespace

const CharacterSetRow &CharacterSetOf(uint32_t id) {
    return kCharacterSets[id < std::size(kCharacterSets) ? id : charset::Default];
}

std::string_view CharacterSetName(uint32_t id) {
    return CharacterSetOf(id).name;
}

std::optional<uint32_t> FindCharacterSet(std::string_view name) {
    const auto row = std::ranges::find(kCharacterSets, name, &CharacterSetRow::name);
    if (row == std::end(kCharacterSets)) return std::nullopt;
    return static_cast<uint32_t>(row - std::begin(kCharacterSets));
}

std::optional<uint32_t> CharacterSetOfSelector(uint32_t selector) {
    if (selector >= std::size(kSelectors)) return std::nullopt;
    return kSelectors[selector];
}

} // namespace mdicom
