// Text values as wide text.

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

#include "Common/CharacterSet/CharacterSets.h"
#include "Common/DSValue/ValueAccess.h"
#include "Common/Utils/Text.h"

using namespace mdicom;

namespace {

/** Conversion of the texts of an element: by its character sets, or by the default for a VR that
 *  they do not reach. */
class TextConverter {
  public:
    TextConverter(bool affected, const CharacterSetList &sets)
        : m_Affected(affected), m_Sets(sets) {}

    std::optional<std::wstring> Decode(std::string_view bytes) const {
        if (m_Affected) return DecodeText(bytes, m_Sets.Span());
        return WidenDefault(bytes);
    }

    std::optional<std::string> Encode(std::wstring_view text) const {
        if (m_Affected) return EncodeText(text, m_Sets.Span());
        return NarrowUtf8(text);
    }

  private:
    bool m_Affected;
    CharacterSetList m_Sets;
};

/** Decodes texts that stand back to back into wide texts that do; the last NUL is left out. */
std::optional<std::wstring> DecodeTexts(const char *text, uint32_t count,
                                        const TextConverter &converter) {
    std::wstring wide;
    for (uint32_t i = 0; i < count; ++i) {
        const std::string_view value(text);
        const auto decoded = converter.Decode(value);
        if (!decoded) return std::nullopt;
        if (i != 0) wide += L'\0';
        wide += *decoded;
        text += value.size() + 1;
    }
    return wide;
}

std::optional<std::string> EncodeTexts(const wchar_t *text, uint32_t count,
                                       const TextConverter &converter) {
    std::string narrow;
    for (uint32_t i = 0; i < count; ++i) {
        const std::wstring_view value(text);
        const auto encoded = converter.Encode(value);
        if (!encoded) return std::nullopt;
        // Joined with its NUL even when the text itself should hold one.
        narrow.append(encoded->c_str());
        narrow += '\0';
        text += value.size() + 1;
    }
    return narrow;
}

const wchar_t *KeepText(_DICOMELEMENT *element, const std::wstring &text) {
    auto block = MakeDataBlock<wchar_t>(text.size() + 1);
    if (!block) return nullptr;
    std::copy_n(text.c_str(), text.size() + 1, block.get());
    element->pText = block.get();
    return block.release();
}

CharacterSetList OneSet(uint32_t id) {
    CharacterSetList list;
    list.ids[0] = id;
    list.count = 1;
    return list;
}

bool Contains(const CharacterSetList &list, uint32_t id) {
    return std::ranges::find(list.Span(), id) != list.Span().end();
}

bool HasCharacterSet(MDicomDS &dataSet) {
    const auto *element = dataSet.FindFirstElement(nullptr, kTagSpecificCharacterSet, 1);
    return element != nullptr && element->nLength != 0;
}

} // namespace

const wchar_t *MDicomDS::GetStringValue(_DICOMELEMENT *pElement, uint32_t nIndex, uint32_t nCount) {
    if (nCount == 0xFFFFFFFF) nCount = 1;
    const char *text = GetStringValueA(pElement, nIndex, nCount);
    if (text == nullptr) return nullptr;
    if (IsAllValues(nCount)) nCount = pElement->nValueCount - nIndex;
    DataFree(pElement->pText);
    pElement->pText = nullptr;
    return Guarded<const wchar_t *>(nullptr, [&] {
        const TextConverter converter(IsElementAffectedByCharacterSet(pElement),
                                      SplittingSetsOf(pElement));
        const auto wide = DecodeTexts(text, nCount, converter);
        return wide ? KeepText(pElement, *wide) : nullptr;
    });
}

bool MDicomDS::EncodeStrings(_DICOMELEMENT *pElement, const wchar_t *pszText, uint32_t nCount,
                             uint32_t nCharacterSet, std::string *pBytes) {
    // Declaring a set replaces that element, and its text needs none.
    if (pElement->nTag == kTagSpecificCharacterSet) nCharacterSet = charset::Default;
    CharacterSetList sets = SplittingSetsOf(pElement);
    bool affected = IsElementAffectedByCharacterSet(pElement) != 0;
    if (nCharacterSet != charset::Default) {
        affected = true;
        // What the item around the element declares holds, whatever the data set would.
        if (FindNestedDeclaration(*this, pElement) == nullptr) {
            // A set is not declared for text that it cannot hold.
            const TextConverter alone(true, OneSet(nCharacterSet));
            if (!HasCharacterSet(*this) && !EncodeTexts(pszText, nCount, alone)) return false;
            if (ApplyCharacterSet(nCharacterSet) != 0) return false;
        }
        sets = CharacterSetsOf(pElement);
        if (!Contains(sets, nCharacterSet)) return false;
    }
    auto bytes = EncodeTexts(pszText, nCount, TextConverter(affected, sets));
    if (bytes) *pBytes = std::move(*bytes);
    return bytes.has_value();
}

int32_t MDicomDS::SetStringValue(_DICOMELEMENT *pElement, const wchar_t *pszText, uint32_t nCount,
                                 uint32_t nCharacterSet) {
    if (!CheckElement(pElement) || !VerifyVR(pElement, VALUE_KIND_STRING)) return 0;
    if (pElement->nLength == kUndefinedLength) return 0;
    if (nCount == 0) return SetTypeValue(pElement, nullptr, 0, 0);
    const auto set = CharacterSetOfSelector(nCharacterSet);
    if (pszText == nullptr || IsAllValues(nCount) || !set) return 0;
    return Guarded(0, [&] {
        std::string bytes;
        if (!EncodeStrings(pElement, pszText, nCount, *set, &bytes)) return 0;
        return SetTypeValue(pElement, bytes.data(), nCount, 0);
    });
}
