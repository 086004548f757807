#pragma once

#include <cstdint>

namespace musedata {

// The number of component objects alive in the process, which tells a host
// whether the library may be unloaded.
void CountObjectCreated() noexcept;
void CountObjectDestroyed() noexcept;
int32_t LiveObjectCount() noexcept;

}  // namespace musedata
