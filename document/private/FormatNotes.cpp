#include <kelmDocument/private/FormatNotes.h>

namespace kelm::formatting
{

void Notes::Add(const Comment& comment)
{
    Add(comment, static_cast<unsigned>(Kind::Comment) << KIND | unsigned{comment.m_isLine} << IS_LINE |
                     unsigned{comment.m_isHash} << IS_HASH | unsigned{comment.m_isMultiLine} << IS_MULTI_LINE);
}

void Notes::AddNumbers(std::size_t space, std::size_t size)
{
    for (const std::size_t each : {space, size})
        if (each >= s_isLong)
            m_numbers.push_back(each);
}

void NoteReader::TakeComment()
{
    m_comments.push_back({m_piece, Has(Notes::IS_LINE), Has(Notes::IS_HASH), Has(Notes::IS_MULTI_LINE)});
}

} // namespace kelm::formatting
