#include "xml/arena.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlmemory.h>
#include <sys/mman.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>
#include <vector>

#include "component/sanitizers.h"

namespace musedata::xml {
namespace {

// Address space only: pages are committed as they are first written. A score
// needs about 90 bytes per byte of MuseData, so this holds a part of some
// 700 MB; beyond it, allocations go back to malloc.
constexpr size_t kReserved = size_t{64} << 30;
// The reservation is dealt out to threads and block kinds in chunks of one
// huge page.
constexpr size_t kChunk = size_t{2} << 20;
constexpr size_t kChunks = kReserved / kChunk;
// Larger blocks (the parser's and writer's buffers, the dictionary's pools)
// are few and grow by reallocation: malloc serves them better. Those taken
// while a scope is open are noted and freed with the scope, so that the
// documents of a scope can be dropped without being freed node by node.
constexpr size_t kLargest = 64 << 10;
// The first chunks stay on small pages, so that a small score does not round
// its memory up to whole huge pages.
constexpr size_t kSmallPageChunks = 8;

// Elements, text and comments are all xmlNode, and attributes xmlAttr: those
// two sizes are most of a document and get chunks of their own, where every
// block has the chunk's size and needs no header. Every other block carries
// its size in an 8-byte header, for realloc.
enum Kind : uint8_t { kSized, kNode, kAttribute, kKinds };
constexpr size_t kHeader = sizeof(uint64_t);

char* g_base = nullptr;
std::atomic<size_t> g_nextChunk{0};
// The kind of each chunk handed out; written once, by the thread that takes
// the chunk, before any block of it exists.
Kind g_kindOf[kChunks];

constexpr size_t RoundUp(size_t size) {
  return (size + 7) & ~size_t{7};
}

Kind KindFor(size_t size) {
  if (size == sizeof(xmlNode)) return kNode;
  if (size == sizeof(xmlAttr)) return kAttribute;
  return kSized;
}

// Bytes a block of `size` takes in a chunk of `kind`.
size_t Footprint(Kind kind, size_t size) {
  return kind == kSized ? kHeader + RoundUp(size) : size;
}

bool InArena(const void* pointer) {
  const char* at = static_cast<const char*>(pointer);
  return g_base && at >= g_base && at < g_base + kReserved;
}

Kind KindOf(const void* pointer) {
  return g_kindOf[static_cast<size_t>(static_cast<const char*>(pointer) - g_base) / kChunk];
}

// Fresh memory costs the kernel (and a virtual machine's host) more to hand
// over than the conversion costs to fill it. A thread of its own faults in
// the chunks that are about to be taken, a little ahead of the last one
// taken, so that this work runs on another core beside the conversion.
// MADV_POPULATE_WRITE maps pages without writing to them, so it never
// touches a block in use; where the kernel lacks it, nothing is faulted ahead.
//
// The thread's state is never destroyed: the thread still waits on it while
// the process exits.
struct Ahead {
  std::mutex lock;
  std::condition_variable wake;
  size_t taken = 0;  // chunks [0, taken) are handed out; guarded by `lock`
};
Ahead& g_ahead = *new Ahead;

// How far ahead of `taken` chunks the pages are faulted in: a thirty-second
// of what the documents hold, so that the pages faulted and never used are
// little beside the peak.
size_t ChunksAhead(size_t taken) {
  return std::clamp<size_t>(taken / 32, 1, 16);
}

[[noreturn]] void FaultInAhead() {
  size_t faulted = 0;  // chunks [0, faulted) are mapped or taken
  std::unique_lock<std::mutex> lock(g_ahead.lock);
  for (;;) {
    // Nothing is faulted in before the first document is begun.
    const size_t taken = g_ahead.taken;
    const size_t target = taken == 0 ? 0 : std::min(kChunks, taken + ChunksAhead(taken));
    faulted = std::max(faulted, taken);
    if (faulted >= target) {
      g_ahead.wake.wait(lock);
      continue;
    }
    lock.unlock();
    if (madvise(g_base + faulted * kChunk, (target - faulted) * kChunk, MADV_POPULATE_WRITE) != 0) {
      // No MADV_POPULATE_WRITE in this kernel: the conversion faults its own pages.
      lock.lock();
      for (;;) g_ahead.wake.wait(lock);
    }
    faulted = target;
    lock.lock();
  }
}

void PrefaultBeyond(size_t chunk) {
  {
    const std::lock_guard<std::mutex> guard(g_ahead.lock);
    g_ahead.taken = std::max(g_ahead.taken, chunk + 1);
  }
  g_ahead.wake.notify_one();
}

struct ThreadArena {
  int scopes = 0;
  char* next[kKinds] = {};  // the free space of the current chunk of each kind
  char* end[kKinds] = {};
  std::vector<size_t> chunks[kKinds];  // every chunk this thread has taken, by kind
  size_t chunksInUse[kKinds] = {};
  std::vector<void*> large;  // blocks from malloc while a scope is open, still held

  void* TakeLarge(size_t size) {
    void* block = std::malloc(size);
    if (block && scopes > 0) large.push_back(block);
    return block;
  }

  // Where `block` is among the large blocks of the scope, or their end.
  std::vector<void*>::iterator FindLarge(void* block) {
    // The last taken is the likeliest to go first.
    for (auto at = large.end(); at != large.begin();)
      if (*--at == block) return at;
    return large.end();
  }

  void FreeLarge(void* block) {
    if (const auto at = FindLarge(block); at != large.end()) {
      *at = large.back();
      large.pop_back();
    }
    std::free(block);
  }

  void* ResizeLarge(void* block, size_t size) {
    const auto at = FindLarge(block);
    void* moved = std::realloc(block, size);
    if (moved && at != large.end()) *at = moved;
    return moved;
  }

  bool NextChunk(Kind kind) {
    size_t chunk;
    std::vector<size_t>& held = chunks[kind];
    if (chunksInUse[kind] < held.size()) {
      chunk = held[chunksInUse[kind]];
    } else {
      chunk = g_nextChunk.fetch_add(1, std::memory_order_relaxed);
      if (chunk >= kChunks) return false;
      g_kindOf[chunk] = kind;
      held.push_back(chunk);
      PrefaultBeyond(chunk);
    }
    ++chunksInUse[kind];
    next[kind] = g_base + chunk * kChunk;
    end[kind] = next[kind] + kChunk;
    return true;
  }

  // A block from the arena, or nullptr when this thread has no scope open or
  // the block is not the arena's to give.
  char* Take(size_t size) {
    if (scopes == 0 || size > kLargest || size == 0) return nullptr;
    const Kind kind = KindFor(size);
    const size_t footprint = Footprint(kind, size);
    if (static_cast<size_t>(end[kind] - next[kind]) < footprint && !NextChunk(kind)) return nullptr;
    char* block = next[kind];
    next[kind] += footprint;
    if (kind != kSized) return block;
    const uint64_t recorded = size;
    std::memcpy(block, &recorded, kHeader);
    return block + kHeader;
  }

  // Whether `block` of `footprint` bytes is the last one cut from this
  // thread's current chunk of its kind: such a block can shrink, grow or go
  // back in place.
  bool IsLast(Kind kind, const char* block, size_t footprint) const {
    return block + footprint == next[kind];
  }

  void Release() {
    for (void* block : large) std::free(block);
    large.clear();
    std::fill(std::begin(chunksInUse), std::end(chunksInUse), 0);
    std::fill(std::begin(next), std::end(next), nullptr);
    std::fill(std::begin(end), std::end(end), nullptr);
  }
};

thread_local ThreadArena t_arena;

uint64_t SizeOf(const char* payload) {
  uint64_t size;
  std::memcpy(&size, payload - kHeader, kHeader);
  return size;
}

void* Allocate(size_t size) {
  if (char* block = t_arena.Take(size)) return block;
  return t_arena.TakeLarge(size);
}

// Freeing is a no-op for arena blocks, except that the last block cut goes
// back, which serves the parser's short-lived buffers.
void Free(void* pointer) {
  if (!InArena(pointer)) return t_arena.FreeLarge(pointer);
  char* block = static_cast<char*>(pointer);
  const Kind kind = KindOf(block);
  if (kind == kSized) {
    char* start = block - kHeader;
    if (t_arena.IsLast(kind, start, Footprint(kind, SizeOf(block)))) t_arena.next[kind] = start;
  } else if (t_arena.IsLast(kind, block, kind == kNode ? sizeof(xmlNode) : sizeof(xmlAttr))) {
    t_arena.next[kind] = block;
  }
}

void* Reallocate(void* pointer, size_t size) {
  if (!pointer) return Allocate(size);
  if (!InArena(pointer)) return t_arena.ResizeLarge(pointer, size);
  char* block = static_cast<char*>(pointer);
  const Kind kind = KindOf(block);
  size_t old = kind == kNode ? sizeof(xmlNode) : kind == kAttribute ? sizeof(xmlAttr) : 0;
  if (kind == kSized) {
    old = SizeOf(block);
    char* start = block - kHeader;
    // The last block grows or shrinks where it is when its chunk has room.
    if (t_arena.scopes > 0 && size <= kLargest &&
        t_arena.IsLast(kind, start, Footprint(kind, old)) &&
        Footprint(kind, size) <= static_cast<size_t>(t_arena.end[kind] - start)) {
      t_arena.next[kind] = start + Footprint(kind, size);
      const uint64_t recorded = size;
      std::memcpy(start, &recorded, kHeader);
      return block;
    }
  }
  void* moved = Allocate(size);
  if (!moved) return nullptr;
  std::memcpy(moved, block, std::min(old, size));
  Free(block);
  return moved;
}

char* Duplicate(const char* text) {
  const size_t size = std::strlen(text) + 1;
  char* copy = static_cast<char*>(Allocate(size));
  if (copy) std::memcpy(copy, text, size);
  return copy;
}

}  // namespace

bool InstallArena() {
  if (g_base) return true;
  if (BuiltWithSanitizer() || std::getenv("MUSEDATA_SYSTEM_MALLOC")) return false;
  // One chunk more than needed, so that the chunks can start on huge-page
  // boundaries.
  void* reserved = mmap(nullptr, kReserved + kChunk, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (reserved == MAP_FAILED) return false;
  const uintptr_t start = reinterpret_cast<uintptr_t>(reserved);
  g_base = reinterpret_cast<char*>((start + kChunk - 1) & ~(uintptr_t{kChunk} - 1));
  madvise(g_base + kSmallPageChunks * kChunk, kReserved - kSmallPageChunks * kChunk, MADV_HUGEPAGE);
  if (xmlMemSetup(Free, Allocate, Reallocate, Duplicate) != 0) {
    munmap(reserved, kReserved + kChunk);
    g_base = nullptr;
    return false;
  }
  std::thread(FaultInAhead).detach();
  // libxml2 makes its process-wide tables (encoding handlers, input and
  // output callbacks) on first use; they must come from malloc, not from the
  // scope of whichever thread happens to parse first.
  xmlInitParser();
  return true;
}

ArenaScope::ArenaScope() {
  ++t_arena.scopes;
}

ArenaScope::~ArenaScope() {
  if (--t_arena.scopes == 0) t_arena.Release();
}

bool ArenaReclaims(const void* block) {
  return t_arena.scopes > 0 && InArena(block);
}

size_t ArenaBytesHeld() {
  size_t chunks = 0;
  for (const std::vector<size_t>& held : t_arena.chunks) chunks += held.size();
  return chunks * kChunk;
}

}  // namespace musedata::xml
