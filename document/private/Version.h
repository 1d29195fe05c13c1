#pragma once

// A value before or after, together with what it is written as.

#include <kelmDocument/private/Pieces.h>
#include <kelmDocument/private/Spot.h>
#include <kelmDocument/private/Subject.h>

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

namespace kelm::editing
{

struct Version
{
    ReflectionByteCode m_type = {}; // null of an object itself
    void* m_data = nullptr;
    const PieceTree* m_tree = nullptr; // null where it is not known yet how it is written
    const Piece* m_piece = nullptr;    // null where it is not written: it is left out, or cannot be
    std::size_t m_begin = 0;           // where the value begins there, behind names of alternatives

    bool IsKnown() const { return m_tree != nullptr; }
    std::size_t GetNumber() const { return m_piece != nullptr ? m_piece->m_number : 0; }
    std::string_view GetText() const;
    std::span<const Piece> Inside() const;
    Spot ToSpot() const;

    // Of a list; of a map what is under a key.
    Version GetPart(const ReflectionByteCode& type, void* data, std::size_t index) const;

    // Those of a class, in declaration order.
    std::vector<Version> GetMembers(const std::vector<MemberField>& members) const;

    // What a variant or optional holds.
    Version GetHeld(const ReflectionByteCode& type, void* data) const;
    std::string_view GetHeldName() const; // with the blank behind it

private:
    Version At(const ReflectionByteCode& type, void* data, const Piece& piece) const;
    std::size_t GetHeldBegin() const;
};

// Writes values. What it makes of one is compared with others that it makes.
class Versions
{
public:
    explicit Versions(const Reading& reading) : m_reading(reading) {}

    const Reading& GetReading() const { return m_reading; }

    // Of a value alone. The tree must live as long.
    Version Write(const ReflectionByteCode& type, void* data, PieceTree& tree);
    Version Write(const ptr<IObject>& object, PieceTree& tree);

    // The same, where it is not known or not written.
    Version Known(const Version& version, PieceTree& tree);
    Version Written(const Version& version, PieceTree& tree);

    bool AreEqual(const Version& a, const Version& b);

private:
    const Reading& m_reading;
    PieceNumbers m_numbers;
};

} // namespace kelm::editing
