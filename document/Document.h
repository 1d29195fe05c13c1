#pragma once

// Document: a text that people write, and its tree, with nothing lost.
//
// The tree is one of brackets. A document consists of parts (Part.h): white space, comments, tokens, wrong characters,
// and brackets, which consist of parts in their turn. It comes of tokens alone, of any text whatever, and knows no
// types: any closing bracket closes what was opened last, and one that closes nothing is a token like others.
//
// What is kept beside the text is an index of one entry a kilobyte: it says how deep brackets go there. The tree is
// read from the text where somebody looks at it, and the index tells where brackets end without reading what is inside.
// So a document needs little more memory than its text; nesting has no limit; and an edit costs the reading of the
// kilobyte around it, whatever stands beside or around that, unless it makes the following text a comment or the end of
// one.
//
// Like a standard container, a document may be read by any number of threads and changed by one that is alone.

#include <kelmDocument/Part.h>
#include <kelmDocument/api.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kelm
{

class KELM_DOCUMENT_API Document
{
public:
    // Of any text.
    static Document Parse(std::string text);

    // Valid until the next edit.
    std::string_view GetText() const { return m_text; }

    // Puts another text in place of a run of octets, which lies in the document.
    void Edit(Span removed, std::string_view inserted);

    // How many octets are kept beside the text.
    std::size_t GetIndexSize() const { return m_blocks.capacity() * sizeof(Block); }

private:
    friend class PartWalk;

    // Whole parts that follow each other. Depths are relative to the block's beginning.
    struct Block
    {
        std::size_t m_begin;
        std::size_t m_size;
        int32 m_lowest; // the least depth that is reached, 0 or below
        int32 m_net;    // the depth at the end
    };
    // A place between parts, and the depth there.
    struct Depth
    {
        std::size_t m_at;
        std::ptrdiff_t m_depth;
    };

    Document() = default;

    Block ScanBlock(std::size_t at, std::size_t until) const;
    std::vector<Block> ScanBlocks(std::size_t at, std::size_t end, std::vector<Block>::const_iterator& last) const;
    bool FindClosingIn(std::size_t end, Depth& place) const;

    // Where the bracket is that closes the one at `opening`; the end of the text where there is none. Looks from a
    // block at or before that on, which becomes the block that it is in.
    std::size_t FindClosing(std::size_t opening, std::size_t& from) const;

    std::string m_text;
    std::vector<Block> m_blocks;
};

// Goes through the parts of one level: a document's, or those inside of brackets. Valid until the next edit.
class KELM_DOCUMENT_API PartWalk
{
public:
    explicit PartWalk(const Document& document) : PartWalk(document, {0, document.GetText().size()}) {}

    // From part to part, over a run of parts of one level.
    PartWalk(const Document& document, Span parts) : m_document(&document), m_at(parts.m_begin), m_end(parts.m_end) {}

    // A walk inside of brackets that this one has come by.
    PartWalk Inside(const Part& brackets) const;

    // False at the end. Brackets are one part.
    bool Next(Part& part);

    // The same, passing over white space and comments.
    bool NextToken(Part& part);

    // Where the next part begins.
    std::size_t GetPlace() const { return m_at; }

    // To another place between parts of the level, behind this one.
    void GoTo(std::size_t place) { m_at = place; }

private:
    const Document* m_document;
    std::size_t m_at;
    std::size_t m_end;
    std::size_t m_block = 0; // at or before what is walked
};

} // namespace kelm
