#pragma once

// Where the musedata tool's documents live. A MusicXML score is some ninety
// bytes of small libxml2 nodes for each byte of MuseData; from malloc, every
// node pays for its bookkeeping, for a page fault on every 4 KiB page it first
// touches, and for being freed one by one at the end. The arena hands libxml2
// its memory from one large reservation of address space instead: blocks are
// cut off in order, nodes and attributes without a header, the reservation
// faults in as huge pages once it has grown, and nothing is freed one by one.
//
// The arena serves a thread only while a `ArenaScope` is open on it; closing
// the scope gives all of that thread's blocks back for its next scope, so every
// document built or read in a scope must be freed or abandoned by then.
// Outside a scope, and for large blocks, libxml2 keeps using malloc.
//
// This is for a program that owns its process and converts one score at a
// time per thread (the tool, its batch workers). The library's hosts keep the
// system allocator: a host may keep a document as long as it likes.

#include <cstddef>

namespace musedata::xml {

// Makes the arena libxml2's allocator for the whole process, and has libxml2
// make its process-wide tables at once, from malloc. Returns false,
// leaving malloc in place, where the arena is not used: builds with a
// sanitizer (which must see every allocation), MUSEDATA_SYSTEM_MALLOC set in
// the environment, or no address space to reserve.
bool InstallArena();

// Opens arena allocation on the calling thread; scopes nest.
class ArenaScope {
 public:
  ArenaScope();
  ~ArenaScope();
  ArenaScope(const ArenaScope&) = delete;
  ArenaScope& operator=(const ArenaScope&) = delete;
};

// Whether `block` is the arena's and comes back when the calling thread's
// scope closes: a document in it need not be freed node by node.
bool ArenaReclaims(const void* block);

// Bytes of the reservation that the calling thread holds (in use or kept for
// reuse), for the tests.
size_t ArenaBytesHeld();

}  // namespace musedata::xml
