// Turns one value into its text form and back, wide and narrow: what an entered text reads as is
// entered as the same value. The value itself is tried as a text, too.

#include "Support.h"

namespace {

using namespace fuzz;

std::wstring WideForm(OneValue &value) {
    const uint32_t size = value.ds.GetConvertValue(value.element, nullptr, 0);
    std::wstring text(size, L'?');
    Require(value.ds.GetConvertValue(value.element, text.data(), size) == size);
    Require(size == 0 || text.back() == L'\0');
    std::wstring cut(size / 2, L'?');
    if (!cut.empty()) {
        const auto room = static_cast<uint32_t>(cut.size());
        Require(value.ds.GetConvertValue(value.element, cut.data(), room) == room);
        Require(cut.back() == L'\0' && text.starts_with(cut.c_str()));
    }
    return text;
}

std::string NarrowForm(OneValue &value) {
    std::string text(value.ds.GetConvertValueA(value.element, nullptr), '?');
    if (text.empty()) return text;
    Require(value.ds.GetConvertValueA(value.element, text.data()) == text.size());
    Require(text.back() == '\0');
    return text;
}

/** Enters the form of the value until it should no longer change: what was no form of anything
 *  becomes one by the first time. */
template <typename Form, typename Enter>
void Settle(OneValue &value, Form form, Enter enter) {
    constexpr uint32_t kAll = 0xFFFFFFF0;
    auto text = form(value);
    for (int turn = 0; turn < 2; ++turn) {
        if (text.empty() || !(value.ds.*enter)(value.element, text.c_str(), kAll)) return;
        const auto next = form(value);
        Require(turn == 0 || next == text);
        text = next;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    using DS = MDicomDS;
    Input input(data, size);
    OneValue value(input);
    std::vector<uint8_t> raw = value.Bytes();
    Settle(value, WideForm, &DS::SetConvertValue);
    value.SetBytes(raw);
    Settle(value, NarrowForm, &DS::SetConvertValueA);
    raw.push_back(0);
    const auto *text = reinterpret_cast<const char *>(raw.data());
    const uint32_t most = raw[0];
    if (!value.ds.SetConvertValueA(value.element, text, most)) return 0;
    Settle(value, NarrowForm, &DS::SetConvertValueA);
    const std::wstring wide(raw.begin(), raw.end());
    if (!value.ds.SetConvertValue(value.element, wide.c_str(), most)) return 0;
    Settle(value, WideForm, &DS::SetConvertValue);
    return 0;
}
