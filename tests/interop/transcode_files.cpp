// Changes data sets to each of the ten transfer syntaxes, from the original each time.
//
// Usage: transcode_files IN FOLDER [UID...]
// Saves FOLDER/<UID>.dcm and prints a line per syntax: UID, status of the change, status of the
// saving. Without UIDs all ten are taken. Exits 1 if the file does not load.

#include <cstdio>
#include <string>
#include <vector>

#include "MDicom.h"

namespace {

constexpr const char *kSyntaxes[] = {
    "1.2.840.10008.1.2",      "1.2.840.10008.1.2.1",    "1.2.840.10008.1.2.2",
    "1.2.840.10008.1.2.5",    "1.2.840.10008.1.2.4.50", "1.2.840.10008.1.2.4.51",
    "1.2.840.10008.1.2.4.57", "1.2.840.10008.1.2.4.70", "1.2.840.10008.1.2.4.90",
    "1.2.840.10008.1.2.4.91",
};

bool Transcode(const char *source, const std::string &folder, const std::string &uid) {
    constexpr int32_t kBestLossyQuality = 2;
    const A2U_Class name(source);
    MDicomDS ds(nullptr);
    if (ds.LoadDS(name.pszText, 0) != DICOM_SUCCESS) return false;
    const A2U_Class syntax(uid.c_str());
    const unsigned changed = ds.ChangeTransferSyntax(syntax.pszText, kBestLossyQuality, 0);
    unsigned saved = 0;
    if (changed == DICOM_SUCCESS) {
        const A2U_Class target((folder + "/" + uid + ".dcm").c_str());
        saved = ds.SaveDS(target.pszText, DS_METAHEADER_PRESENT);
    }
    std::printf("%s %u %u\n", uid.c_str(), changed, saved);
    return true;
}

} // namespace

int main(int count, char **arguments) {
    if (count < 3) return 1;
    std::vector<std::string> syntaxes(arguments + 3, arguments + count);
    if (syntaxes.empty()) syntaxes.assign(std::begin(kSyntaxes), std::end(kSyntaxes));
    for (const std::string &uid : syntaxes) {
        if (!Transcode(arguments[1], arguments[2], uid)) return 1;
    }
    return 0;
}
