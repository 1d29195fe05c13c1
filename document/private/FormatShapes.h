#pragma once

// What a layout has to know of a text: its pieces, and what is asked for before the layout comes to it, which is how
// wide brackets are, how their items stood in lines, and which names and keys stood in a column.

#include <kelmDocument/Diagnose.h>
#include <kelmDocument/private/FormatNotes.h>
#include <klUtils/types.h>

#include <cstddef>
#include <limits>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace kelm::formatting
{

// How the items of brackets that do not stand on one line are put on lines.
enum class Rows : uint8
{
    Single, // each on its own
    Filled, // as many as there is room for
    Kept,   // as they are written, where there is room
};

struct Shape
{
    uint32 m_width = 0;         // on one line, with a comma behind it
    uint32 m_widestRow = 0;     // of those that are written
    bool m_hasBreak = false;    // whether it is written over several lines
    bool m_isGrid = false;      // whether its rows have the same number of items, the last one at most as many
    Rows m_rows = Rows::Single; // where it is no grid that there is room for
};

struct Shapes
{
    Notes m_notes;
    std::vector<Shape> m_brackets;   // in the order of the opening ones
    std::vector<uint32> m_keyWidths; // of columns, in the order of their beginnings: of the widest key; 0 of none
    bool m_isCrLf = false;           // whether lines end as on Windows
};

// A place that is in no column.
inline constexpr std::size_t s_nowhere = std::numeric_limits<std::size_t>::max();

// Whether most of these places in a text are in one column of their lines.
bool AreInColumn(std::string_view text, std::span<const std::size_t> places);

// Of a document's text; or what is wrong with it.
std::optional<Diagnostic> FindShapes(std::string_view text, Shapes& shapes);

} // namespace kelm::formatting
