#pragma once

// How the failures of the rooms below become kelm::Error.

#include <kelm/Error.h>
#include <kelm/Result.h>
#include <kelm/private/errors/Source.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/LexScannerException.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace kelm
{

inline constexpr std::string_view s_textName = "<text>"; // the source of a text that is no file

// What kind of failure a message of the readers, of paths and of expressions tells of.
KELM_API ErrorKind KindOfMessage(std::string_view message);

// An error about so many octets of a text.
KELM_API Error ErrorAt(ErrorKind kind, std::string message, const SourceText& source, std::size_t offset,
                       std::size_t numOctets, std::string fieldPath = {}, std::vector<std::string> suggestions = {});

// An error that no text is wrong in.
KELM_API Error ErrorWithoutPlace(ErrorKind kind, std::string message, std::string source = {});

// At the token that the exception is about; without a place where that lies outside the text.
KELM_API Error ErrorOf(const LexScannerException& exception, const SourceText& source, std::string fieldPath = {});

// What bad input can reach says what is wrong with the input. Others are faults of ours, without a place.
KELM_API Error ErrorOf(const KelmAssertionError& exception);
// The former at a token of the text.
Error ErrorOf(const KelmAssertionError& exception, const SourceText& source, const LSToken& token,
              std::string fieldPath);

// Of the exception in flight. One that is none of ours goes on.
KELM_API Error ErrorInFlight(const SourceText& source, const std::string& fieldPath);

// What `f` returns, or how it failed: at a place in `source`, where the field at `fieldPath` was under way.
template <class F>
auto Attempt(const SourceText& source, const std::string& fieldPath, const F& f) -> Result<std::invoke_result_t<F>>
{
    try
    {
        if constexpr (std::is_void_v<std::invoke_result_t<F>>)
        {
            f();
            return {};
        }
        else
        {
            return f();
        }
    }
    catch (const std::exception&)
    {
        return ErrorInFlight(source, fieldPath);
    }
}

} // namespace kelm
