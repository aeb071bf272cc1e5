// ElementReader: turns a stream of encoded elements into the tree of a data set.

#pragma once

#include <span>
#include <vector>

#include "Common/Utils/ByteCursor.h"
#include "Common/Utils/Status.h"
#include "MDicomDS.h"

namespace mdicom {

/**
 * Reads one encoding (byte order and VR form of the data set's flags) from a position of a stream
 * to its end (PS 3.5, 7). Values are skipped: each element notes where its value lies. Nesting is
 * kept on a stack of levels, not on the call stack.
 */
class ElementReader {
  public:
    ElementReader(MDicomDS &ds, MDicomFile &file);

    /** Reads from offset on. 0 at the end of the stream; 2, 4, 5, 6, 8 as LoadDS tells them, 7
     *  for an element inside encapsulated Pixel Data that is no fragment. */
    Status Read(uint64_t offset);

    /** True if the input is refused for good, whatever was read of it. */
    bool IsRefused() const { return m_Refused; }

    /** True if the meta header confirmed the encoding, or everything read lies within the stream
     *  and ends where it says. A wrong encoding seldom gets that far. */
    bool IsSound() const { return m_SyntaxKnown || !m_CutOff; }

  private:
    /** The content of one sequence, item or of the data set. */
    struct Level {
        _DICOMELEMENT *parent;   ///< null: elements go to the top level
        _DICOMELEMENT *previous; ///< the element inserted last
        uint32_t length;         ///< bytes of the level, 0xFFFFFFFF up to a delimiter
        uint64_t consumed;
        uint32_t opener; ///< tag of the element whose content this is; 0 for the data set
        bool isExplicit; ///< VR form of its elements
    };

    struct Header {
        uint32_t tag;
        uint16_t vr; ///< as encoded; vr::Implicit where the form names none
        uint32_t length;
        uint32_t size; ///< bytes of the header
    };

    Status ReadLevels();
    Status ReadHeader(Header *header);
    void ReadForm(ByteCursor &cursor, bool meta, bool isExplicit, Header *header);
    void SettleForm(std::span<const uint8_t> bytes);
    Status CheckOddLength(uint32_t length);
    Status PlaceElement(Level &level, const Header &header);
    uint16_t DecideVr(const Level &level, const Header &header);
    bool HasChildren(const Level &level, const Header &header, uint16_t vr);
    Status OpenLevel(_DICOMELEMENT *element, const Level &level, const Header &header, uint16_t vr);
    Status ReadLeaf(_DICOMELEMENT *element, const Header &header, bool topLevel);
    Status CheckTransferSyntax(const Header &header);
    Status CopyValue(_DICOMELEMENT *element, uint32_t length);
    void CloseFinishedLevels(uint32_t tag);
    bool Delimits(uint32_t tag);
    bool SequenceGoesOn();
    Status Refuse(Status status);
    bool ContentIsExplicit(uint64_t offset);
    bool IsUnknownSequence(const Header &header);
    std::span<const uint8_t> Bytes(uint64_t offset, uint32_t wanted);
    uint32_t TagAt(uint64_t offset);

    MDicomDS &m_DS;
    MDicomFile &m_File;
    bool m_LittleEndian;
    bool m_Explicit;
    bool m_Copy;     ///< values go to the value store
    bool m_Record;   ///< note each element's offset
    bool m_AllowOdd; ///< odd lengths are collected for repair
    bool m_Refused = false;
    bool m_SyntaxKnown = false; ///< the transfer syntax names this encoding
    bool m_FormSettled = false; ///< the first element behind the meta header was looked at
    bool m_CutOff = false;      ///< a value or a level passes the end of the stream
    uint64_t m_Position = 0;
    std::vector<Level> m_Levels;
    std::span<const uint8_t> m_Window; ///< bytes at m_WindowStart
    uint64_t m_WindowStart = 0;
};

} // namespace mdicom
