#pragma once

// What stands in brackets, for a reader that goes on behind errors. What a value looks like is said by the reader; here
// it is said how one item follows the other, one token at a time, and what happens where it does not.

#include <klKelmScript/private/DataSourceReader.h>
#include <klKelmScript/private/ReadingErrors.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/LexScannerException.h>

#include <algorithm>

namespace kelm
{

// The items of brackets, from the opening one on and past the closing one. readItem(i, item) reads the i-th and may set
// `item` to null as soon as the beginning of the item is known to be right. So many there must be, or any number for
// -1. Where nothing was wrong between the items, atEnd(place) is called at the closing bracket.
template <class Rules>
template <class ReadItem, class AtEnd>
void BasicDataSourceReader<Rules>::ReadItems(EToken opening, ssize_t count, const ReadItem& readItem, bool isMap,
                                             const AtEnd& atEnd)
{
    if constexpr (Rules::s_goesOn) // nobody calls it for others, but all of a class is compiled
    {
        ReadingErrors& errors = *m_rules.m_errors;
        const ReadingErrors::Level level(errors, opening);
        const auto closing = static_cast<EToken>(opening + 1);
        const ConstStringZ closingText = opening == TOKEN_LEFT_PAREN ? ")" : "]";
        ssize_t numRead = 0;
        bool isRight = true;
        enum
        {
            BEFORE_OPENING,
            BEHIND_OPENING,
            AT_ITEM, // behind what stands between two
            BEHIND_ITEM,
        } place = BEFORE_OPENING;
        while (true)
        {
            ReadingErrors::Failure failure;
            failure.m_isEntry = isMap;
            try
            {
                if (place == BEFORE_OPENING)
                {
                    place = BEHIND_OPENING;
                    m_cursor.Next();
                }
                failure.m_mustEnd = count >= 0 ? numRead == count : m_cursor.Is(closing) && place != AT_ITEM;
                if (failure.m_mustEnd && !m_cursor.Is(closing))
                    m_cursor.ThrowExpected(closingText);
                if (failure.m_mustEnd)
                    break;
                failure.m_isBetween = place == BEHIND_ITEM && opening != TOKEN_LEFT_CURLY;
                if (failure.m_isBetween)
                    m_cursor.Pass(TOKEN_COMMA, ",");
                failure.m_isBetween = false;
                failure.m_item = m_cursor.GetText().m_p1;
                ++numRead;
                readItem(numRead - 1, failure.m_item);
                place =
                    m_rules.m_isBehind && !m_cursor.Is(TOKEN_COMMA) && !m_cursor.Is(closing) ? AT_ITEM : BEHIND_ITEM;
                m_rules.m_isBehind = false;
                continue;
            }
            catch (const LexScannerException& e)
            {
                errors.Add(e);
                failure.m_at = m_cursor.GetText().m_p2 != nullptr ? m_cursor.GetText().m_p1 : e.m_pos;
            }
            catch (const KelmAssertionError& e)
            {
                errors.Add(e, m_cursor.GetPlace().m_previous);
                failure.m_at = m_cursor.GetText().m_p1;
            }
            isRight = false;
            m_rules.m_isBehind = false;
            failure.m_previous = m_cursor.GetPlace().m_previous;
            const ReadingErrors::Resumption resumption = errors.FindResumption(failure);
            m_cursor.MoveTo(resumption.m_place);
            if (resumption.m_where == ReadingErrors::W_CLOSING)
                break;
            if (resumption.m_where == ReadingErrors::W_BEHIND)
            {
                m_rules.m_isBehind = true;
                return;
            }
            place = AT_ITEM;
            // Of so many items the last ones are likelier to be those that are meant than the next ones.
            if (count >= 0)
                numRead = std::max(ssize_t{0}, count - errors.CountItems(resumption.m_place.m_start));
        }
        if (isRight)
            atEnd(m_cursor.GetText().m_p1);
        m_cursor.Next();
    }
}

} // namespace kelm
