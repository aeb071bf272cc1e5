// Reads one value through the typed getters of its VR, sets what they gave and reads again: text
// is the same from then on, and numbers and bytes stay as they were.

#include "Support.h"

namespace {

using namespace fuzz;

using Bytes = std::vector<uint8_t>;

/** Calls exchange, which sets what it gets, twice: the bytes that the first time leaves stay. */
template <typename Once>
void Twice(OneValue &value, Once exchange) {
    if (!exchange()) return;
    value.ds.FreeValue(value.element);
    const Bytes before = value.Bytes();
    Require(exchange());
    value.ds.FreeValue(value.element);
    Require(value.Bytes() == before);
}

/** False for what marks a value that is a range. */
template <typename Entry>
bool IsPlain(const Entry &entry) {
    if constexpr (std::is_same_v<Entry, _VALUEDATE>) return entry.Year != 0xFFFF;
    if constexpr (std::is_same_v<Entry, _VALUETIME>) return entry.Hours != 0xFFFF;
    return true;
}

/** Pairs a getter of an array with its setter. */
template <typename Get, typename Set>
void Exchange(OneValue &value, Get get, Set set) {
    MDicomDS &ds = value.ds;
    Twice(value, [&] {
        const uint32_t count = ds.GetCountValue(value.element);
        const auto *entries = (ds.*get)(value.element, 0, count);
        if (entries == nullptr || count == 0) return false;
        std::vector taken(entries, entries + count);
        for (const auto &entry : taken) {
            if (!IsPlain(entry)) return false;
        }
        return (ds.*set)(value.element, taken.data(), count) == 1; // 9 for an age of no unit
    });
}

/** As Exchange, for getters of a single range. */
template <typename Range, typename Get, typename Set>
void ExchangeRanges(OneValue &value, Get get, Set set) {
    MDicomDS &ds = value.ds;
    Twice(value, [&] {
        std::vector<Range> ranges(ds.GetCountValue(value.element));
        for (size_t i = 0; i < ranges.size(); ++i) {
            if ((ds.*get)(value.element, static_cast<uint32_t>(i), &ranges[i]) != 0) return false;
        }
        const auto count = static_cast<uint32_t>(ranges.size());
        return count != 0 && (ds.*set)(value.element, ranges.data(), count) == 1;
    });
}

/** All texts of a value, each with its NUL. Blanks around a text do not count. */
std::wstring TextsOf(OneValue &value) {
    std::wstring all;
    const uint32_t count = value.ds.GetCountValue(value.element);
    for (uint32_t i = 0; i < count; ++i) {
        const wchar_t *found = value.ds.GetStringValue(value.element, i, 1);
        Require(found != nullptr && value.ds.GetStringValueA(value.element, i, 1) != nullptr);
        const std::wstring text(found);
        const size_t start = std::min(text.find_first_not_of(L' '), text.size());
        all += text.substr(start, text.find_last_not_of(L' ') + 1 - start);
        all += L'\0';
    }
    return all;
}

/** What a character set has no place for is refused; what is stored reads as it was set. */
void ExchangeTexts(OneValue &value) {
    const std::wstring texts = TextsOf(value);
    const uint32_t count = value.ds.GetCountValue(value.element);
    const Bytes before = value.Bytes();
    if (count == 0 || texts.size() == 1) return; // an empty text is no value
    if (!value.ds.SetStringValue(value.element, texts.data(), count, 0)) {
        Require(value.Bytes() == before);
        return;
    }
    value.ds.FreeValue(value.element);
    Require(TextsOf(value) == texts);
    value.ds.SetStringValue(value.element, texts.data(), count, 1 + texts[0] % 14u);
}

bool IsBinary(uint16_t vr) {
    static constexpr char kBinary[][3] = {"AT", "FD", "FL", "OB", "OD", "OF", "OL", "OV",
                                          "OW", "SL", "SS", "SV", "UL", "UN", "US", "UV"};
    return std::ranges::any_of(
        kBinary, [vr](const char *letters) { return vr == (letters[0] << 8 | letters[1]); });
}

/** Numbers of a value by conversion to every type of array. */
void Convert(OneValue &value) {
    constexpr uint32_t kMost = 64;
    double numbers[kMost];
    for (uint32_t type = VALUE_ARRAY_BYTE; type <= VALUE_ARRAY_DOUBLE; ++type) {
        const uint32_t tag = value.element->nTag;
        const uint32_t count = value.ds.FindGetValue(nullptr, tag, numbers, 0, kMost, type);
        Require(count <= kMost);
        if (count == 0) continue;
        value.ds.FindSetValue(nullptr, tag, numbers, count, type);
        value.ds.FindGetValue(nullptr, tag, numbers, count / 2, kMost, type);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    using DS = MDicomDS;
    Input input(data, size);
    OneValue value(input);
    const Bytes raw = value.Bytes();
    Exchange(value, &DS::GetCharValue, &DS::SetCharValue);
    Exchange(value, &DS::GetShortValue, &DS::SetShortValue);
    Exchange(value, &DS::GetFloatValue, &DS::SetFloatValue);
    const bool isText = value.ds.GetStringValueA(value.element, 0, 1) != nullptr;
    Exchange(value, &DS::GetLongValue, &DS::SetLongValue);
    Exchange(value, &DS::GetDoubleValue, &DS::SetDoubleValue);
    if (IsBinary(value.vr)) {
        // A rest that is no whole number goes.
        const Bytes now = value.Bytes();
        Require(now.size() <= raw.size() && std::equal(now.begin(), now.end(), raw.begin()));
    }
    int64_t integer = 0;
    value.ds.GetLong64Value(value.element, &integer, 0, 1);
    Exchange(value, &DS::GetAgeValue, &DS::SetAgeValue);
    ExchangeRanges<_VALUEDATERANGE>(value, &DS::GetDateRangeValue, &DS::SetDateRangeValue);
    ExchangeRanges<_VALUETIMERANGE>(value, &DS::GetTimeRangeValue, &DS::SetTimeRangeValue);
    ExchangeRanges<_VALUEDATETIMERANGE>(value, &DS::GetDateTimeRangeValue,
                                        &DS::SetDateTimeRangeValue);
    value.SetBytes(raw);
    Exchange(value, &DS::GetDateValue, &DS::SetDateValue);
    Exchange(value, &DS::GetTimeValue, &DS::SetTimeValue);
    Exchange(value, &DS::GetDateTimeValue, &DS::SetDateTimeValue);
    if (isText) ExchangeTexts(value);
    Convert(value);
    return 0;
}
