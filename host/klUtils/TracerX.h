#pragma once

#include <klUtils/api.h>
#include <klUtils/xostream.h>

namespace kelm
{

// A diagnostic message under construction: a stream whose whole text goes to the trace sink when it is destroyed, in
// one piece. Any number of threads may trace at once.
class KLUTILS_API TracerX : public StringStream
{
public:
    TracerX();
    ~TracerX() override;
};

// Receives each trace text with the context given at installation. Must be callable from any thread and must not throw.
using TraceSink = void (*)(SubString text, void* context);

// Installs the sink of the process; null brings back the default, which writes to standard error.
KLUTILS_API void SetTraceSink(TraceSink sink, void* context);

} // namespace kelm
