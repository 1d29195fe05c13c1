#include <klUtils/Utf16FromUtf8.h>

namespace kelm
{

namespace
{

// The form of a UTF-8 sequence by its first byte, and the least value that needs its length (the Unicode Standard,
// table 3-6).
struct SequenceForm
{
    unsigned char m_mask;
    unsigned char m_lead;
    int m_length;
    uint32 m_leastValue;
};

constexpr SequenceForm s_forms[] = {
    {0x80, 0x00, 1, 0x0}, {0xE0, 0xC0, 2, 0x80}, {0xF0, 0xE0, 3, 0x800}, {0xF8, 0xF0, 4, 0x10000}};

constexpr uint32 s_lastCodePoint = 0x10FFFF;

bool IsSurrogate(uint32 value)
{
    return 0xD800 <= value && value <= 0xDFFF;
}

const SequenceForm* FormOf(unsigned char lead)
{
    for (const SequenceForm& form : s_forms)
        if ((lead & form.m_mask) == form.m_lead)
            return &form;
    return nullptr;
}

void AppendUtf16(basic_xstring<unsigned short>& out, uint32 codePoint)
{
    if (codePoint < 0x10000)
    {
        out.push_back(static_cast<unsigned short>(codePoint));
        return;
    }
    out.push_back(static_cast<unsigned short>(0xD800 + ((codePoint - 0x10000) >> 10)));
    out.push_back(static_cast<unsigned short>(0xDC00 + (codePoint & 0x3FF)));
}

} // namespace

bool ReadUtf8(const char*& p, const char* end, uint32& value)
{
    const SequenceForm* const form = FormOf(static_cast<unsigned char>(*p));
    if (form == nullptr || end - p < form->m_length)
        return false;
    value = static_cast<unsigned char>(*p) & static_cast<unsigned char>(~form->m_mask);
    for (int i = 1; i < form->m_length; ++i)
    {
        const auto byte = static_cast<unsigned char>(p[i]);
        if ((byte & 0xC0) != 0x80)
            return false;
        value = value << 6 | (byte & 0x3F);
    }
    p += form->m_length;
    return value >= form->m_leastValue && value <= s_lastCodePoint && !IsSurrogate(value);
}

bool Utf16FromUtf8(basic_xstring<unsigned short>& out, const char* utf8, long length)
{
    basic_xstring<unsigned short> units;
    units.reserve(length);
    const char* const end = utf8 + length;
    for (const char* p = utf8; p != end;)
    {
        uint32 codePoint = 0;
        if (!ReadUtf8(p, end, codePoint))
            return false;
        AppendUtf16(units, codePoint);
    }
    out.swap(units);
    return true;
}

bool Utf8FromUtf16(xstring& out, const unsigned short* utf16, long length)
{
    xstring text;
    for (long i = 0; i < length; ++i)
    {
        uint32 codePoint = utf16[i];
        if (IsSurrogate(codePoint))
        {
            const bool isPair = codePoint < 0xDC00 && i + 1 < length && (utf16[i + 1] & 0xFC00) == 0xDC00;
            if (!isPair)
                return false;
            codePoint = 0x10000 + ((codePoint & 0x3FF) << 10) + (utf16[++i] & 0x3FFU);
        }
        AppendUtf8(text, codePoint);
    }
    out.swap(text);
    return true;
}

char* WriteUtf8(char* p, uint32 codePoint)
{
    int length = 1;
    while (length < 4 && codePoint >= s_forms[length].m_leastValue)
        ++length;
    for (int i = length - 1; i > 0; --i, codePoint >>= 6)
        p[i] = static_cast<char>(0x80 | (codePoint & 0x3F));
    p[0] = static_cast<char>(s_forms[length - 1].m_lead | codePoint);
    return p + length;
}

void AppendUtf8(xstring& out, uint32 codePoint)
{
    char bytes[4];
    out.append(bytes, WriteUtf8(bytes, codePoint) - bytes);
}

} // namespace kelm
