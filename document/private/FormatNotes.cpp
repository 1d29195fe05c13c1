#include <kelmDocument/private/FormatNotes.h>

#include <algorithm>

namespace kelm::formatting
{

void Notes::Add(const Comment& comment)
{
    Add(comment,
        static_cast<unsigned>(Kind::Comment) << KIND | unsigned{comment.m_isLine} << IS_LINE |
            unsigned{comment.m_isHash} << IS_HASH | unsigned{comment.m_isMultiLine} << IS_MULTI_LINE,
        comment.m_width);
}

void Notes::AddNumbers(std::size_t space, std::size_t size, std::size_t width)
{
    const auto fitting = [&](std::size_t each)
    {
        if (each >= s_isLong)
            m_numbers.push_back(each);
        return static_cast<uint8>(std::min<std::size_t>(each, s_isLong));
    };
    m_notes.back().m_space = fitting(space);
    m_notes.back().m_size = fitting(size);
    if (width != size)
        m_numbers.push_back(width);
}

void NoteReader::TakeComment()
{
    m_comments.push_back({m_piece, Has(Notes::IS_LINE), Has(Notes::IS_HASH), Has(Notes::IS_MULTI_LINE), m_width});
}

} // namespace kelm::formatting
