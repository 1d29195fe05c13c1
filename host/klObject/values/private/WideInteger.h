#pragma once

namespace kelm
{

// FT_INT128 and FT_UINT128.
__extension__ typedef __int128 int128;
__extension__ typedef unsigned __int128 uint128;

} // namespace kelm
