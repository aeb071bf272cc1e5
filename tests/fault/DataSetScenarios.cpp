// Scenarios without pixels: files, values, keys, copies.

#include <algorithm>
#include <cwchar>

#include "Scenarios.h"

namespace {

using support::Encoder;

void RichFile(const std::wstring &path) {
    Encoder file;
    file.Meta(support::kExplicitUid).Element(0x00080005, "CS", "ISO_IR 100");
    file.Header(0x00081140, "SQ", 0xFFFFFFFF).Plain(TAG_ITEM, 0xFFFFFFFF);
    file.Element(0x00080005, "CS", "ISO_IR 192").Element(0x00081150, "UI", "1.2.840.10");
    file.Element(0x0040A160, "LO", "M\xC3\xBCller ");
    file.Plain(TAG_ITEM_DELIMITATION, 0).Plain(TAG_ITEM, 0xFFFFFFFF);
    file.Plain(TAG_ITEM_DELIMITATION, 0).Plain(TAG_SEQUENCE_DELIMITATION, 0);
    file.Element(0x00091011, "AS", "018M\\002Y ").Element(0x00091012, "AT", "12345678");
    file.Element(0x00091013, "DA", "20200131").Element(0x00091014, "DS", "1.5\\-2e3");
    file.Element(0x00091015, "DT", "20200101120000.5+0130\\20200101-20200102 ");
    file.Element(0x00091016, "FL", "12345678").Element(0x00091017, "FD", "1234567812345678");
    file.Element(0x00091018, "IS", "17\\-4 ").Element(0x00091019, "LO", "M\xFCller\\b");
    file.Element(0x0009101A, "OW", "1234").Element(0x0009101B, "SL", "12345678");
    file.Element(0x0009101C, "SS", "1234").Element(0x0009101D, "TM", "1200\\1201 ");
    file.Element(0x0009101E, "UL", "12345678").Element(0x0009101F, "UN", "raw bytes!");
    file.Element(0x00091020, "OB", std::string(300, 'b')).Element(0x00091021, "US", "1234");
    file.Element(0x00100010, "PN", "Doe^Jane").Element(0x00104000, "LT", "odd text!");
    file.Element(0x00420011, "OB", std::string(150000, 'd'));
    support::WriteFile(std::filesystem::path(path).string(), file.bytes);
}

/** A level that does not ascend, as broken files have them. */
std::function<void(const std::wstring &)> UnorderedFile(const std::string &characterSet) {
    return [=](const std::wstring &path) {
        Encoder file;
        file.Meta(support::kExplicitUid).Element(0x00100010, "PN", "Doe^Jane");
        file.Element(0x00080060, "CS", "OT").Element(0x00080005, "CS", characterSet);
        support::WriteFile(std::filesystem::path(path).string(), file.bytes);
    };
}

void Directory(const std::wstring &path) {
    MDicomDS ds(nullptr);
    ds.InitDS(71, DS_ADD_MANDATORY_ELEMENTS_ONLY);
    _DICOMELEMENT *patient = ds.InsertKey(nullptr, L"PATIENT", 0);
    ds.InsertKey(patient, L"STUDY", 0);
    ds.InsertKey(nullptr, L"PATIENT", 0);
    ds.SaveDS(path.c_str(), 0);
}

unsigned OrRefused(bool good) {
    return good ? 0 : kRefused;
}

_DICOMELEMENT *Find(Trial &run, uint32_t tag) {
    return run.ds.FindFirstElement(nullptr, tag, 1);
}

std::function<unsigned(Trial &)> Load(uint16_t flags) {
    return [flags](Trial &run) -> unsigned {
        const unsigned status = run.ds.LoadDS(run.source.c_str(), flags);
        if (status != DICOM_SUCCESS) return status;
        run.seen = "loaded";
        return status;
    };
}

/** What has no status is refused where it gives nothing. */
template <typename T>
bool See(Trial &run, const T *values, uint32_t count) {
    if (values == nullptr) return false;
    run.seen.append(reinterpret_cast<const char *>(values), count * sizeof(T));
    return true;
}

unsigned ReadTypedValues(Trial &run) {
    MDicomDS &ds = run.ds;
    _VALUEDATETIMERANGE moments{};
    int64_t wide[2] = {};
    const auto at = [&](uint32_t tag) { return Find(run, tag); };
    const bool good = ds.GetAgeValue(at(0x00091011), 0, 2) != nullptr &&
                      See(run, ds.GetLongValue(at(0x00091012), 0, 2), 2) &&
                      ds.GetDateValue(at(0x00091013), 0, 1) != nullptr &&
                      See(run, ds.GetDoubleValue(at(0x00091014), 0, 2), 2) &&
                      See(run, ds.GetFloatValue(at(0x00091016), 0, 2), 2) &&
                      See(run, ds.GetDoubleValue(at(0x00091017), 0, 2), 2) &&
                      See(run, ds.GetLongValue(at(0x00091018), 0, 2), 2) &&
                      See(run, ds.GetShortValue(at(0x0009101A), 0, 2), 2) &&
                      ds.GetTimeValue(at(0x0009101D), 0, 1) != nullptr &&
                      See(run, ds.GetCharValue(at(0x0009101F), 0, 10), 10) &&
                      See(run, ds.GetStringValue(at(0x00091019), 0, 2), 9) &&
                      See(run, ds.GetStringValueA(at(0x00091019), 0, 2), 9) &&
                      ds.GetLong64Value(at(0x00091018), wide, 0, 2) == 0 &&
                      ds.GetDateTimeRangeValue(at(0x00091015), 1, &moments) == 0 &&
                      ds.GetCountValue(at(0x00091015)) == 2;
    return OrRefused(good && See(run, wide, 2) && See(run, &moments.Type, 1));
}

unsigned SetTypedValues(Trial &run) {
    MDicomDS &ds = run.ds;
    const auto at = [&](uint32_t tag) { return Find(run, tag); };
    const _VALUEAGE age{7, 'W'};
    const _VALUEDATE date{2021, 2, 3};
    int16_t shorts[] = {1, -2, 3};
    int32_t longs[] = {100000, -2};
    float floats[] = {1.5F};
    double doubles[] = {0.1, 1e30};
    const uint16_t words[] = {1, 2, 3};
    wchar_t text[101] = {};
    std::fill_n(text, 100, L'\u00E4');
    const bool good = ds.SetAgeValue(at(0x00091011), &age, 1) == 1 &&
                      ds.SetDateValue(at(0x00091013), &date, 1) == 1 &&
                      ds.SetDoubleValue(at(0x00091014), doubles, 2) == 1 &&
                      ds.SetFloatValue(at(0x00091016), floats, 1) == 1 &&
                      ds.SetLongValue(at(0x0009101B), longs, 2) == 1 &&
                      ds.SetShortValue(at(0x0009101C), shorts, 3) == 1 &&
                      ds.SetStringValue(at(0x00091019), text, 1, 0) != 0 &&
                      ds.FindSetValue(nullptr, 0x00280009, words, 3, VALUE_ARRAY_WORD) != nullptr &&
                      ds.InsertBinaryValue(at(0x00420011), longs, 70001, 3) != 0;
    return OrRefused(good);
}

/** Text in a set, written and read. */
std::function<unsigned(Trial &)> UseCharacterSet(const wchar_t *text) {
    return [=](Trial &run) -> unsigned {
        _DICOMELEMENT *name = Find(run, 0x00100010);
        if (run.ds.UpdateSpecificCharacterSet() != DICOM_SUCCESS) return kRefused;
        if (!run.ds.SetStringValue(name, text, 1, 0)) return kRefused;
        const wchar_t *read = run.ds.GetStringValue(name, 0, 1);
        return OrRefused(read != nullptr && std::wcscmp(read, text) == 0);
    };
}

unsigned UseTextForms(Trial &run) {
    for (uint32_t tag = 0x00091011; tag <= 0x00091021; ++tag) {
        _DICOMELEMENT *element = Find(run, tag);
        wchar_t text[1000] = {};
        const uint32_t length = run.ds.GetConvertValue(element, text, 1000);
        if (length == 0) return kRefused;
        See(run, text, length);
        if (tag == 0x00091015 || tag == 0x00091020) continue;
        if (!run.ds.SetConvertValue(element, text, 2)) return kRefused;
    }
    return DICOM_SUCCESS;
}

unsigned WalkKeys(Trial &run) {
    for (_DICOMELEMENT *key = run.ds.GetFirstKey(nullptr, 0); key != nullptr;
         key = run.ds.GetNextKey(key, 0)) {
        const wchar_t *type = run.ds.GetValueKey(key);
        if (type == nullptr) return kRefused;
        run.seen += static_cast<char>(type[0]);
    }
    return OrRefused(run.seen == "PSP");
}

unsigned ReadAll(Trial &run) {
    char value[160000];
    for (_DICOMELEMENT *element = run.ds.GetFirstElement(nullptr, 0, 1); element != nullptr;
         element = run.ds.GetNextElement(element, 0, 1)) {
        if (element->nLength == 0 || element->nLength == 0xFFFFFFFF) continue;
        if (!run.ds.GetBinaryValue(element, value, element->nLength)) return kRefused;
        run.seen.append(value, element->nLength);
    }
    return DICOM_SUCCESS;
}

} // namespace

std::vector<Scenario> DataSetScenarios() {
    const std::set<unsigned> refused = {kRefused};
    const auto save = [](uint16_t flags, bool onto) {
        return [=](Trial &run) -> unsigned {
            return run.ds.SaveDS((onto ? run.source : run.target).c_str(), flags);
        };
    };
    const std::set<unsigned> loading = {DICOM_ERROR_MEMORY, DICOM_ERROR_OPEN, DICOM_ERROR_READ,
                                        DICOM_ERROR_WRITE,  DICOM_ERROR_SEEK, DICOM_ERROR_FORMAT};
    const auto child = [](Trial &run) { return run.ds.GetChildElement(Find(run, 0x00081140), 1); };
    return {
        {"load", RichFile, Load(0), kFresh, loading},
        {"load and close", RichFile, Load(DS_LOAD_CLOSE | DS_RECORD_OFFSETS), kFresh, loading},
        {"load out of order", UnorderedFile("ISO_IR 100"),
         [](Trial &run) -> unsigned {
             const unsigned status = Load(0)(run);
             for (const uint32_t tag : {0x00080005u, 0x00080060u, 0x00100010u}) {
                 run.seen += Find(run, tag) != nullptr ? 'x' : '-';
             }
             return status;
         },
         kFresh, loading},
        {"walk", RichFile, ReadAll, kWhole, refused},
        {"edit and save",
         RichFile,
         [](Trial &run) -> unsigned {
             const char text[] = "edited";
             if (!run.ds.SetStringValueA(Find(run, 0x00100010), text, 1) ||
                 !run.ds.FindSetValue(nullptr, 0x00100020, text, 6, VALUE_ARRAY_BYTE) ||
                 !run.ds.InsertBinaryValue(Find(run, 0x00420011), nullptr, 100000, 6)) {
                 return kRefused;
             }
             return run.ds.SaveDS(run.target.c_str(), DS_LENGTH_EXPLICIT | DS_GROUP_LENGTHS);
         },
         kParts,
         {kRefused, DICOM_ERROR_MEMORY, DICOM_ERROR_OPEN, DICOM_ERROR_WRITE}},
        {"save onto the loaded file", RichFile, save(DS_LENGTH_EXPLICIT, true)},
        {"save in big endian", RichFile, save(DS_BIG_ENDIAN | DS_EXPLICIT_VR, true)},
        {"InitDS and save", RichFile,
         [](Trial &run) -> unsigned {
             run.ds.InitDS(9, DS_ADD_MANDATORY_ELEMENTS_ONLY | DS_ADD_MANDATORY_MODULES_ONLY);
             return run.ds.SaveDS(run.target.c_str(), 0);
         },
         kFresh | kParts | kSilent},
        {"InitCS", RichFile,
         [](Trial &run) -> unsigned {
             run.ds.InitCS(0x0001, 1);
             return DICOM_SUCCESS;
         },
         kFresh | kParts | kSilent},
        {"modules", RichFile,
         [](Trial &run) -> unsigned {
             run.ds.InsertModule(2, 0);
             run.ds.ConformanceDS([](_DICOMELEMENT *, uint16_t, void *) { return 1; }, nullptr);
             return DICOM_SUCCESS;
         },
         kParts | kSilent},
        {"insert elements", RichFile,
         [](Trial &run) -> unsigned {
             for (uint32_t i = 0; i < 60; ++i) {
                 if (!run.ds.InsertElement(nullptr, 0, 0x00111000 + i, 0x4C4F, 0, 0) ||
                     !run.ds.FindFirstElement(nullptr, 0x00111000 + i, 0)) {
                     return kRefused;
                 }
             }
             return DICOM_SUCCESS;
         },
         kParts, refused},
        {"copy a data set", RichFile,
         [](Trial &run) -> unsigned { return run.ds.CopyDS(nullptr, &run.other, nullptr); },
         kFresh | kParts},
        {"copy into an item", RichFile,
         [=](Trial &run) -> unsigned { return run.ds.CopyDS(child(run), &run.ds, nullptr); },
         kParts},
        {"read typed values", RichFile, ReadTypedValues, kWhole, refused},
        {"set typed values", RichFile, SetTypedValues, kParts, refused},
        {"character set UTF-8", UnorderedFile("ISO_IR 192"),
         UseCharacterSet(L"\u4E2D\u6587^\u00E4"), kParts, refused},
        {"character set with escapes", UnorderedFile("\\ISO 2022 IR 87 "),
         UseCharacterSet(L"Yamada^Tarou=\u5C71\u7530^\u592A\u90CE"), kParts, refused},
        {"character set of one byte", UnorderedFile("ISO_IR 144"),
         UseCharacterSet(L"\u041B\u044E\u043A\u0441"), kParts, refused},
        {"text forms", RichFile, UseTextForms, kParts, refused},
        {"create a private creator", RichFile,
         [](Trial &run) -> unsigned {
             return run.ds.CreatePrivateCreatorDataElement(nullptr, 0x0011, 0xFFFF,
                                                           L"a creator of 26 letters ...", nullptr);
         }},
        {"walk keys", Directory, WalkKeys, kWhole, refused},
        {"insert a key", Directory,
         [](Trial &run) { return OrRefused(run.ds.InsertKey(nullptr, L"PATIENT", 0) != nullptr); },
         kWhole, refused},
        {"insert a lower key", Directory,
         [](Trial &run) {
             _DICOMELEMENT *parent = run.ds.GetFirstKey(nullptr, 0);
             return OrRefused(parent != nullptr &&
                              run.ds.InsertKey(parent, L"STUDY", 0) != nullptr);
         },
         kWhole, refused},
        {"delete a key", Directory,
         [](Trial &run) {
             const uint32_t count = run.ds.m_Tree.GetCount(nullptr, 0);
             _DICOMELEMENT *key = run.ds.GetFirstKey(nullptr, 0);
             if (key != nullptr) run.ds.DeleteKey(key);
             return OrRefused(run.ds.m_Tree.GetCount(nullptr, 0) < count);
         },
         kWhole, refused},
        {"save a directory", Directory, save(DS_LENGTH_EXPLICIT, true)},
    };
}
