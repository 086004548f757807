#pragma once

namespace musedata::tool {

// Starts the tool again, once, with the C library's heap on transparent huge
// pages, unless it already runs so, the files it is given are small (the
// restart costs more than it saves), the system offers no huge pages, the
// tool was built with a sanitizer (which brings its own allocator) or
// MUSEDATA_SMALL_PAGES is set. Returns only when the tool goes on as it is;
// call it first thing in main, before any other work.
void RunOnHugePages(char** argv);

}  // namespace musedata::tool
