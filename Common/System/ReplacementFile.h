// A file that is written under a temporary name and takes its place when it is complete.

#pragma once

#include <string>

#include "MDicomFile.h"

namespace mdicom {

/** Whatever stands under the name stays untouched until Commit succeeds, and for good if the
 *  object goes without it. */
class ReplacementFile {
  public:
    ReplacementFile() = default;
    ~ReplacementFile();
    ReplacementFile(const ReplacementFile &) = delete;
    ReplacementFile &operator=(const ReplacementFile &) = delete;

    /** Makes the temporary file beside path; false if that cannot be. A symbolic link is
     *  followed, and permissions of an existing file are kept. */
    bool Create(const wchar_t *path);
    MDicomFile &Stream() { return m_Stream; }
    /** Closes the stream and gives the file its name. */
    bool Commit();

  private:
    MDicomFile m_Stream;
    std::string m_Path;
    std::string m_Temporary;
};

} // namespace mdicom
