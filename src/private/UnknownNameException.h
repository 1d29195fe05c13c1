#pragma once

// A name that a text gives and that is none of those which could stand there, which nothing but the type itself knows.

#include <klKelmScript/api.h>
#include <klUtils/LexScannerException.h>
#include <klUtils/types.h>

#include <span>

namespace kelm
{

class KLKELMSCRIPT_API UnknownNameException : public LexScannerException
{
public:
    UnknownNameException(const xstring& description, const LSToken& token, SubString name,
                         std::span<const ConstStringZ> existing)
        : LexScannerException(description, token), m_name(name), m_existing(existing)
    {
    }
    ~UnknownNameException() override;

    xstring m_name;
    std::span<const ConstStringZ> m_existing; // constant data of the type
};

} // namespace kelm
