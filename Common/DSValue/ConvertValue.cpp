// Values as text for people, and back.

#include <algorithm>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "Common/CharacterSet/CharacterSets.h"
#include "Common/DSValue/ConvertValueForms.h"
#include "Common/DSValue/ValueAccess.h"
#include "Common/DSValue/ValueStore.h"
#include "Common/DSValue/ValueText.h"
#include "Common/Utils/CodePages.h"
#include "Common/Utils/Text.h"
#include "Common/Utils/Vr.h"

using namespace mdicom;

namespace {

constexpr uint32_t kPieceSize = 32 * 1024; // holds whole units of every size
constexpr uint64_t kLongestText = std::numeric_limits<uint32_t>::max();

/** Where the text of a value goes. It counts all of it, and writes what there is room for. */
class TextSink {
  public:
    TextSink() = default;
    TextSink(const TextSink &) = delete;
    TextSink &operator=(const TextSink &) = delete;
    virtual ~TextSink() = default;

    virtual void Put(std::string_view text) = 0;
    virtual bool IsMeasuring() const = 0;
    /** Characters that would make a difference. */
    virtual uint64_t Room() const = 0;
    /** Counts characters without having them. */
    void Count(uint64_t characters) { m_Length += characters; }

  protected:
    uint64_t m_Length = 0;
};

uint64_t Remaining(uint64_t room, uint64_t length) {
    return room > length ? room - length : 0;
}

/** Characters with their terminator, or 0 for more than a size can tell. */
uint32_t SizeOf(uint64_t length) {
    return length < kLongestText ? static_cast<uint32_t>(length + 1) : 0;
}

/** Writes bytes to a buffer that its owner has measured. */
class NarrowSink final : public TextSink {
  public:
    explicit NarrowSink(char *buffer) : m_Buffer(buffer) {}

    void Put(std::string_view text) override {
        if (m_Buffer != nullptr && Room() != 0) text.copy(m_Buffer + m_Length, text.size());
        m_Length += text.size();
    }
    bool IsMeasuring() const override { return m_Buffer == nullptr; }
    uint64_t Room() const override { return Remaining(kLongestText, m_Length); }

    uint32_t Finish(bool shown) {
        // Nothing is known of the room before the first text.
        const bool begun = m_Buffer != nullptr && m_Length != 0;
        if (!shown && begun) *m_Buffer = '\0';
        if (!shown) return 0;
        const uint32_t size = SizeOf(m_Length);
        if (m_Buffer != nullptr && size != 0) m_Buffer[m_Length] = '\0';
        return size;
    }

  private:
    char *m_Buffer;
};

/** Writes wide text: by character sets, or by the default for a VR that they do not reach. */
class WideSink final : public TextSink {
  public:
    WideSink(wchar_t *buffer, uint32_t size, bool affected, const CharacterSetList &sets)
        : m_Buffer(buffer), m_Room(size), m_Affected(affected), m_Sets(sets) {}

    void Put(std::string_view text) override {
        const bool plain = IsAscii(text) && text.find('\x1B') == std::string_view::npos;
        if (plain) return Append(text);
        const auto wide = m_Affected ? DecodeText(text, m_Sets.Span()) : WidenDefault(text);
        m_Failed = m_Failed || !wide;
        if (wide) Append(*wide);
    }
    bool IsMeasuring() const override { return m_Buffer == nullptr; }
    uint64_t Room() const override {
        if (m_Failed) return 0;
        return Remaining(m_Buffer != nullptr ? m_Room : kLongestText, m_Length);
    }

    uint32_t Finish(bool shown) {
        shown = shown && !m_Failed;
        if (m_Buffer == nullptr) return shown ? SizeOf(m_Length) : 0;
        const auto length = static_cast<uint32_t>(std::min<uint64_t>(m_Length, m_Room - 1));
        m_Buffer[shown ? length : 0] = L'\0';
        return shown ? length + 1 : 0;
    }

  private:
    template <typename Text>
    void Append(const Text &text) {
        if (m_Buffer != nullptr && m_Length < m_Room) {
            const size_t count = std::min<uint64_t>(text.size(), m_Room - m_Length);
            std::copy_n(text.begin(), count, m_Buffer + m_Length);
        }
        m_Length += text.size();
    }

    wchar_t *m_Buffer;
    uint32_t m_Room; ///< not 0 with a buffer; the terminator takes the place of the last
    bool m_Affected;
    bool m_Failed = false;
    const CharacterSetList &m_Sets;
};

/** Shows a binary value piece by piece: it may be as large as a file. */
bool ShowUnits(MDicomDS &dataSet, _DICOMELEMENT *element, TextSink &sink) {
    const UnitForm &form = UnitFormOf(element->nVR);
    const uint32_t count = element->nLength / form.unit;
    if (count == 0) return false;
    if (sink.IsMeasuring() && form.width != 0) {
        sink.Count(uint64_t{count} * (form.width + 1) - 1);
        return true;
    }
    const uint32_t end = count * form.unit;
    std::vector<uint8_t> piece(std::min(kPieceSize, end));
    std::string text;
    for (uint32_t offset = 0; offset < end && sink.Room() != 0;) {
        // A value takes one character at least.
        const uint64_t wanted = sink.Room() * form.unit;
        const auto size =
            static_cast<uint32_t>(std::min<uint64_t>(wanted, std::min(kPieceSize, end - offset)));
        if (!dataSet.GetBinaryValue(element, piece.data(), offset, size)) return false;
        text.clear();
        for (uint32_t place = 0; place < size; place += form.unit) {
            if (offset + place != 0) text += '\\';
            form.show(piece.data() + place, text);
        }
        sink.Put(text);
        offset += size;
    }
    return true;
}

/** Shows the values of a text one by one. */
template <typename Show>
void ShowEach(std::string_view stored, std::span<const uint32_t> sets, TextSink &sink, Show show) {
    ValueSplitter values(stored, sets);
    for (bool first = true; sink.Room() != 0; first = false) {
        const auto value = values.Next();
        if (!value) return;
        if (!first) sink.Put("\\");
        sink.Put(show(TrimBlanks(*value)));
    }
}

void ShowRecords(std::string_view stored, const RecordForm &form, TextSink &sink) {
    // One form for all values, as far as they have it.
    const bool asRange = stored.substr(0, stored.find('\\')).find('-') != std::string_view::npos;
    std::string text;
    ShowEach(stored, {}, sink, [&](std::string_view value) -> std::string_view {
        text.clear();
        form.show(value, asRange, text);
        return text;
    });
}

bool ShowStored(MDicomDS &dataSet, _DICOMELEMENT *element, const CharacterSetList &sets,
                TextSink &sink) {
    const auto bytes = ReadWholeValue(dataSet, element);
    if (!bytes) return false;
    const RecordForm *form = FindRecordForm(element->nVR);
    if (form != nullptr && form->show != nullptr) {
        ShowRecords(bytes.get(), *form, sink);
    } else if (form != nullptr || LayoutOf(element->nVR) == ValueLayout::OneText) {
        sink.Put(bytes.get());
    } else {
        ShowEach(bytes.get(), sets.Span(), sink, [](std::string_view value) { return value; });
    }
    return true;
}

/** False for an element without a value, or one that cannot be read. */
bool ShowValue(MDicomDS &dataSet, _DICOMELEMENT *element, const CharacterSetList &sets,
               TextSink &sink) {
    if (element->nLength == 0 || element->nLength > kLongestValue) return false;
    if (!ValueIsPresent(element)) return false;
    const bool isText = IsPlainText(element->nVR) || FindRecordForm(element->nVR) != nullptr;
    return isText ? ShowStored(dataSet, element, sets, sink) : ShowUnits(dataSet, element, sink);
}

/** Calls take with up to count values of a text, one by one. */
template <typename Take>
void TakeValues(std::string_view text, uint32_t count, Take take) {
    ValueSplitter values(text);
    EnteredFields fields{};
    for (; count != 0; --count) {
        const auto value = values.Next();
        if (!value) return;
        take(TrimBlanks(*value), fields);
    }
}

/** The bytes of a value that is not plain text. */
std::string EnterValue(uint16_t code, std::string_view text, uint32_t count) {
    std::string bytes;
    const RecordForm *record = FindRecordForm(code);
    const UnitForm &unit = UnitFormOf(code);
    bool first = true;
    TakeValues(text, count, [&](std::string_view value, EnteredFields &fields) {
        if (record == nullptr) return unit.enter(value, fields, bytes);
        if (!std::exchange(first, false)) bytes += '\\';
        record->enter(value, fields, bytes);
    });
    return bytes;
}

/** Values of plain text, each with its NUL. */
template <typename Char>
struct SeparateTexts {
    std::basic_string<Char> texts;
    uint32_t count = 0;

    void Add(std::basic_string_view<Char> value) {
        texts.append(value);
        texts += Char{};
        ++count;
    }
};

SeparateTexts<char> Separate(std::string_view text, uint32_t count,
                             std::span<const uint32_t> sets) {
    SeparateTexts<char> separate;
    ValueSplitter values(text, sets);
    while (separate.count < count) {
        const auto value = values.Next();
        if (!value) break;
        separate.Add(*value);
    }
    return separate;
}

SeparateTexts<wchar_t> Separate(std::wstring_view text, uint32_t count) {
    SeparateTexts<wchar_t> separate;
    for (size_t end = 0; separate.count < count && end != std::wstring_view::npos;) {
        end = text.find(L'\\');
        separate.Add(text.substr(0, end));
        if (end != std::wstring_view::npos) text.remove_prefix(end + 1);
    }
    return separate;
}

} // namespace

uint32_t MDicomDS::GetConvertValueA(_DICOMELEMENT *pElement, char *pszBuffer) {
    if (pElement == nullptr || !CheckElement(pElement)) return 0;
    NarrowSink sink(pszBuffer);
    const bool shown =
        Guarded(false, [&] { return ShowValue(*this, pElement, SplittingSetsOf(pElement), sink); });
    FreeCaches(pElement);
    return sink.Finish(shown);
}

uint32_t MDicomDS::GetConvertValue(_DICOMELEMENT *pElement, wchar_t *pszBuffer, uint32_t nSize) {
    if (pszBuffer != nullptr && nSize == 0) return 0;
    if (pszBuffer != nullptr) *pszBuffer = L'\0';
    if (pElement == nullptr || !CheckElement(pElement)) return 0;
    return Guarded(0u, [&] {
        const CharacterSetList sets = SplittingSetsOf(pElement);
        WideSink sink(pszBuffer, nSize, IsElementAffectedByCharacterSet(pElement), sets);
        const bool shown = Guarded(false, [&] { return ShowValue(*this, pElement, sets, sink); });
        FreeCaches(pElement);
        return sink.Finish(shown);
    });
}

int32_t MDicomDS::SetConvertValueA(_DICOMELEMENT *pElement, const char *pszText, uint32_t nCount) {
    if (pElement == nullptr || !CheckElement(pElement)) return 0;
    if (pElement->nLength == kUndefinedLength) return 0;
    // An empty text has no value, not one that is 0.
    if (nCount == 0 || (pszText != nullptr && *pszText == '\0')) {
        return ReplaceValue(*this, pElement, "", 0);
    }
    if (pszText == nullptr) return 0;
    return Guarded(0, [&] {
        if (IsPlainText(pElement->nVR)) {
            const CharacterSetList sets = SplittingSetsOf(pElement);
            const auto values = Separate(pszText, nCount, sets.Span());
            return SetStringValueA(pElement, values.texts.data(), values.count);
        }
        const std::string value = EnterValue(pElement->nVR, pszText, nCount);
        return ReplaceValue(*this, pElement, value.data(), value.size());
    });
}

int32_t MDicomDS::SetConvertValue(_DICOMELEMENT *pElement, const wchar_t *pszText,
                                  uint32_t nCount) {
    if (pElement == nullptr || pszText == nullptr || !CheckElement(pElement)) return 0;
    return Guarded(0, [&] {
        const bool encoded = IsPlainText(pElement->nVR) && nCount != 0 && *pszText != L'\0';
        if (!encoded) return SetConvertValueA(pElement, NarrowUtf8(pszText).c_str(), nCount);
        const auto values = Separate(pszText, nCount);
        return SetStringValue(pElement, values.texts.data(), values.count, 0);
    });
}
