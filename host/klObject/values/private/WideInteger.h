#pragma once

namespace kelm
{

// FT_INT128 and FT_UINT128.
__extension__ using int128 = __int128;
__extension__ using uint128 = unsigned __int128;

} // namespace kelm
