// ElementWriter: encodes the tree of a data set into a stream.

#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "Common/Utils/Status.h"
#include "MDicomDS.h"

namespace mdicom {

/** How an element is encoded (PS 3.5, 7.1). */
struct EncodedForm {
    bool littleEndian;
    bool isExplicit;
    uint16_t vr;         ///< as written
    uint32_t headerSize; ///< bytes
};

/** What a save writes, beyond the tree itself. */
struct SaveOptions {
    bool preamble; ///< preamble, prefix and the length of group 0002
    bool littleEndian;
    bool isExplicit;
    bool groupLengths;          ///< a length element opens every group
    bool definedLengths;        ///< sequences and items without delimiters
    bool withoutMeta;           ///< group 0002 stays out
    std::string transferSyntax; ///< written in (0002,0010) in place of its value; empty: the value
};

/**
 * Encodes in two passes over the tree, neither of which recurses: the first works out every
 * length and the place of every item, the second writes. What the second pass needs from the
 * first stands in the order in which it asks.
 */
class ElementWriter {
  public:
    ElementWriter(MDicomDS &ds, MDicomFile &target, const SaveOptions &options);

    /** Writes the data set. 0; 2 no memory, 5 write error, a value that cannot be read, or a
     *  directory reference without its record. */
    Status Write();

  private:
    /** State of one level of the walk. */
    struct Level {
        _DICOMELEMENT *parent;
        int32_t group = -1;   ///< group that was opened last
        size_t groupSlot = 0; ///< place of its length
        bool groupOpen = false;
        uint64_t size = 0; ///< bytes of the level so far
        size_t contentSlot = 0;
        bool hasContentSlot = false; ///< the parent is written with its length
        uint64_t overhead = 0;       ///< header and delimiter of the parent
    };

    bool IsReplaced(const _DICOMELEMENT *element) const;
    bool IsBehindTurn(const _DICOMELEMENT *element) const;
    bool IsLeftOut(const _DICOMELEMENT *element) const;
    bool OpensGroup(const Level &level, const _DICOMELEMENT *element) const;
    bool HasWrittenLength(const _DICOMELEMENT *element) const;
    EncodedForm FormOf(const _DICOMELEMENT *element) const;
    uint32_t ValueLength(const _DICOMELEMENT *element) const;

    Status Plan();
    void PlanLevels();
    void PlanElement(_DICOMELEMENT *element);
    void PlanGroup(Level &level, const _DICOMELEMENT *element);
    void FinishLevel();
    void Account(Level &level, const _DICOMELEMENT *element, uint64_t bytes);

    Status WriteLevels();
    Status WriteOne(Level &level, _DICOMELEMENT *element);
    Status WriteDelimiter(const _DICOMELEMENT *element);
    Status WriteHeader(const _DICOMELEMENT *element, const EncodedForm &form, uint32_t length);
    Status WriteGroupLength(const _DICOMELEMENT *element, uint32_t length);
    Status WriteValue(_DICOMELEMENT *element, const EncodedForm &form);
    Status WriteReference(const _DICOMELEMENT *element, const EncodedForm &form);
    Status CopyBlocks(const _DICOMELEMENT *element);
    Status CopyTurned(_DICOMELEMENT *element, unsigned unit);

    bool Put(const void *bytes, size_t count);
    bool Put16(uint16_t value, bool littleEndian);
    bool Put32(uint32_t value, bool littleEndian);
    bool PutStaged();

    MDicomDS &m_DS;
    MDicomFile &m_Target;
    const SaveOptions &m_Options;
    std::vector<Level> m_Levels;
    std::vector<uint32_t> m_Lengths; ///< content and group lengths in the order of writing
    size_t m_NextLength = 0;
    std::unordered_map<uint32_t, uint32_t> m_ItemPlaces; ///< by item identity
    bool m_WantsPlaces = false;
    bool m_MetaTurn = true; ///< the first turn writes group 0002, the second the rest
    bool m_Refused = false;
    uint64_t m_Place = 0; ///< offset in the output during planning
    std::vector<uint8_t> m_Staged;
};

} // namespace mdicom
