#pragma once

// Whether this code is built with a sanitizer, which brings its own
// allocator and must see every allocation: the tool's own memory schemes
// (the document arena, glibc's huge-page tunable) stand aside for it.

namespace musedata {

constexpr bool BuiltWithSanitizer() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  return true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || \
    __has_feature(memory_sanitizer)
  return true;
#else
  return false;
#endif
#else
  return false;
#endif
}

}  // namespace musedata
