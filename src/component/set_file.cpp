#include "component/set_file.h"

#include <algorithm>
#include <optional>

#include "encoding/code_pages.h"
#include "encoding/record_view.h"

namespace musedata {
namespace {

// Record 11 of a part's header; ten header records come before it, and the
// part name is the second of them counting back.
constexpr std::string_view kGroupMemberships = "group memberships";
constexpr int kRecordsBeforeGroupMemberships = 10;
constexpr int kPartNameRecordBack = 2;

// What a physical line is to the layout of a set, read as the record reader
// reads a part from its first line.
enum class LineRole {
  Record,       // a header or data record, empty lines included
  Comment,      // an "@" line, or a line of an "&" comment block with its toggles
  EndOfData,    // "/END": the last record of a part
  BetweenParts  // "/eof" or "//": never part of a part
};

struct Line {
  std::string_view text;
  size_t start = 0;  // where the line starts in the file
  LineRole role = LineRole::Record;
  bool closesOpenBlock = false;  // an end line reached inside a comment block
};

// What a part is found by.
struct Anchor {
  size_t line = 0;         // its group-membership record, or its "/END" when swallowed
  bool swallowed = false;  // its header is inside a comment block that was never closed
};

std::string_view WithoutTrailingBlanks(std::string_view line) {
  while (!line.empty() && (line.back() == ' ' || line.back() == '\t')) line.remove_suffix(1);
  return line;
}

// "/END" as the end record reads it: the word in columns 2 to 5, then
// anything after a blank.
bool IsEndOfData(std::string_view line) {
  return line.substr(0, 4) == "/END" && (line.size() == 4 || line[4] == ' ');
}

bool IsBetweenParts(std::string_view line) {
  const std::string_view text = WithoutTrailingBlanks(line);
  return text == "/eof" || text == "//";
}

bool IsGroupMemberships(std::string_view line) {
  if (line.size() < kGroupMemberships.size()) return false;
  return std::equal(
      kGroupMemberships.begin(), kGroupMemberships.end(), line.begin(), [](char wanted, char c) {
        return wanted == (c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c);
      });
}

// The physical lines of the file with their roles. A comment block runs from
// one "&" line to the next. "/END", "/eof" and "//" close the part they stand
// in, so a block that a damaged toggle line left open ends there too, as the
// reader of that part ends there.
void ReadLines(std::string_view bytes, std::vector<Line>& lines) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  lines.clear();
  bool inBlock = false;
  size_t position = 0;
  while (position < bytes.size()) {
    Line line;
    line.start = position;
    line.text = TakeLine(bytes, position);
    if (line.start == 0 && line.text.starts_with(kByteOrderMark))
      line.text.remove_prefix(kByteOrderMark.size());
    const char first = line.text.empty() ? '\0' : line.text.front();
    if (IsEndOfData(line.text) || IsBetweenParts(line.text)) {
      line.role = IsEndOfData(line.text) ? LineRole::EndOfData : LineRole::BetweenParts;
      line.closesOpenBlock = inBlock;
      inBlock = false;
    } else if (inBlock || first == '&' || first == '@') {
      line.role = LineRole::Comment;
      if (first == '&') inBlock = !inBlock;
    }
    lines.push_back(line);
  }
}

constexpr size_t kNone = SIZE_MAX;

struct HeaderStart {
  size_t first = 0;     // the first line of the part
  size_t name = kNone;  // the part-name record, if the header has one
};

// Counts back from the group-membership record at `anchor` to record 1, not
// below `bound`, then takes in the comment lines just before record 1.
HeaderStart FindHeaderStart(const std::vector<Line>& lines, size_t anchor, size_t bound) {
  HeaderStart start{anchor, kNone};
  int records = 0;
  for (size_t index = anchor; index > bound && records < kRecordsBeforeGroupMemberships;) {
    --index;
    if (lines[index].role == LineRole::Comment) continue;
    if (lines[index].role != LineRole::Record) break;
    start.first = index;
    if (++records == kPartNameRecordBack) start.name = index;
  }
  while (start.first > bound && lines[start.first - 1].role == LineRole::Comment) --start.first;
  return start;
}

bool IsBlank(std::string_view line) {
  return WithoutTrailingBlanks(line).empty();
}

// Where a part begins: counted back from its group-membership record, or, for
// a part whose header is inside a comment block, its first line with text.
HeaderStart FindStart(const std::vector<Line>& lines, Anchor anchor, size_t bound) {
  if (!anchor.swallowed) return FindHeaderStart(lines, anchor.line, bound);
  HeaderStart start{bound, kNone};
  while (start.first < anchor.line && lines[start.first].role != LineRole::Comment) ++start.first;
  // The part name still stands two lines above the group-membership record.
  for (size_t index = start.first + kPartNameRecordBack; index < anchor.line; ++index)
    if (IsGroupMemberships(lines[index].text)) start.name = index - kPartNameRecordBack;
  return start;
}

// Lines with text in [first, last) that no part took.
void AddStrayLines(const std::vector<Line>& lines, size_t first, size_t last,
                   std::vector<LineRange>& stray) {
  for (size_t index = first; index < last; ++index) {
    if (lines[index].role != LineRole::Record || IsBlank(lines[index].text)) continue;
    const int32_t number = static_cast<int32_t>(index) + 1;
    if (!stray.empty() && stray.back().last == number - 1) {
      stray.back().last = number;
    } else {
      stray.push_back({number, number});
    }
  }
}

}  // namespace

namespace {

bool IsStrayBlockEnd(std::string_view line) {
  const std::string_view text = WithoutTrailingBlanks(line);
  return text.size() >= 3 && text[0] != '&' && text[0] != ' ' &&
         text.find_first_not_of('&', 1) == std::string_view::npos;
}

// After the group-membership record, which every part has.
std::string_view AfterGroupMemberships(std::string_view bytes) {
  size_t position = 0;
  while (position < bytes.size())
    if (IsGroupMemberships(TakeLine(bytes, position))) return bytes.substr(position);
  return {};
}

std::string Lowered(std::string_view text) {
  std::string lowered(text);
  for (char& c : lowered)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return lowered;
}

}  // namespace

std::vector<StrayCommentEnd> FindStrayCommentEnds(std::string_view bytes) {
  std::vector<StrayCommentEnd> ends;
  // Files without a comment block, nearly all, are passed over at once.
  if (!bytes.starts_with('&') && bytes.find("\n&") == std::string_view::npos) return ends;
  bool inBlock = false;
  int32_t line = 0;
  int32_t blockLine = 0;
  std::optional<StrayCommentEnd> candidate;
  size_t position = 0;
  while (true) {
    const bool atEnd = position >= bytes.size();
    const size_t start = position;
    const std::string_view text = atEnd ? std::string_view() : TakeLine(bytes, position);
    if (!atEnd) ++line;
    if (atEnd || IsEndOfData(text) || IsBetweenParts(text)) {
      if (inBlock && candidate) {
        // The block ends at its stray end; read on from the line after it.
        ends.push_back(*candidate);
        line = candidate->line;
        position = candidate->offset;
        TakeLine(bytes, position);
        inBlock = false;
        candidate.reset();
        continue;
      }
      inBlock = false;
      candidate.reset();
      if (atEnd) break;
      continue;
    }
    if (!text.empty() && text.front() == '&') {
      inBlock = !inBlock;
      blockLine = line;
      candidate.reset();
    } else if (inBlock && !candidate && IsStrayBlockEnd(text)) {
      candidate = StrayCommentEnd{line, blockLine, start, WithoutTrailingBlanks(text)};
    }
  }
  return ends;
}

bool HasMusicalData(std::string_view bytes) {
  const std::string_view data = AfterGroupMemberships(bytes);
  size_t position = 0;
  while (position < data.size()) {
    const std::string_view line = TakeLine(data, position);
    if (line.empty()) continue;
    const char first = line.front();
    if (first == '$' || line.starts_with("measure") || line.starts_with("mheavy") ||
        line.starts_with("mdouble") || line.starts_with("back") || line.starts_with("rest") ||
        line.starts_with("irest"))
      return true;
    // A note, cue or grace note or chord tone: a step letter, up to two
    // accidentals, an octave digit.
    const size_t step = (first == 'c' || first == 'g' || first == ' ') ? 1 : 0;
    if (step >= line.size() || line[step] < 'A' || line[step] > 'G') continue;
    size_t octave = step + 1;
    while (octave < line.size() && octave < step + 3 &&
           (line[octave] == '#' || line[octave] == 'f'))
      ++octave;
    if (octave < line.size() && line[octave] >= '0' && line[octave] <= '9') return true;
  }
  return false;
}

std::vector<std::string> PartGroups(std::string_view bytes) {
  size_t position = 0;
  while (position < bytes.size()) {
    const std::string_view line = TakeLine(bytes, position);
    if (!IsGroupMemberships(line)) continue;
    std::vector<std::string> groups;
    std::string_view rest =
        line.substr(line.find(':') == std::string_view::npos ? line.size() : line.find(':') + 1);
    while (!rest.empty()) {
      const size_t comma = rest.find_first_of(", ");
      const std::string_view group = rest.substr(0, comma);
      if (!group.empty()) groups.push_back(Lowered(WithoutTrailingBlanks(group)));
      if (comma == std::string_view::npos) break;
      rest.remove_prefix(comma + 1);
    }
    return groups;
  }
  return {};
}

SetFileLayout SetFileParts(std::string_view bytes) {
  // Kept from file to file: a batch splits thousands of files, and a fresh
  // table of lines for each would be fresh pages for each. The table of a
  // very large file is not kept.
  constexpr size_t kLinesKept = 64 << 10;
  thread_local std::vector<Line> lines;
  struct Trim {
    ~Trim() {
      if (lines.capacity() > kLinesKept) std::vector<Line>().swap(lines);
    }
  } trim;
  ReadLines(bytes, lines);
  // Each part's group-membership record; and the "/END" of a part whose
  // header a comment block swallowed (its closing toggle damaged), so that
  // such a part is still found and its reader can say where the block began.
  std::vector<Anchor> anchors;
  bool anchored = false;  // since the last line between parts
  for (size_t index = 0; index < lines.size(); ++index) {
    const Line& line = lines[index];
    if (line.role == LineRole::Record && IsGroupMemberships(line.text)) {
      anchors.push_back({index, false});
      anchored = true;
    } else if (line.role == LineRole::EndOfData || line.role == LineRole::BetweenParts) {
      if (line.closesOpenBlock && !anchored) anchors.push_back({index, true});
      anchored = false;
    }
  }

  SetFileLayout layout;
  size_t bound = 0;  // the first line that no part has taken
  for (size_t part = 0; part < anchors.size(); ++part) {
    const Anchor anchor = anchors[part];
    const HeaderStart start = FindStart(lines, anchor, bound);
    // The part runs to its "/END", or stops before "/eof" or "//", or before
    // the next part's header when neither comes first.
    const size_t nextAnchor = part + 1 < anchors.size() ? anchors[part + 1].line : lines.size();
    size_t end = anchor.line + 1;
    bool ended = anchor.swallowed;
    bool closed = ended;  // by "/END", "/eof" or "//"
    while (end < nextAnchor && !closed) {
      ended = lines[end].role == LineRole::EndOfData;
      closed = ended || lines[end].role == LineRole::BetweenParts;
      if (!closed || ended) ++end;
    }
    if (!closed && part + 1 < anchors.size())
      end = std::min(end, FindStart(lines, anchors[part + 1], anchor.line + 1).first);
    // Blank lines after a part without "/END" are not records of it.
    if (!ended)
      while (end > anchor.line + 1 && IsBlank(lines[end - 1].text)) --end;

    AddStrayLines(lines, bound, start.first, layout.strayLines);
    const size_t byteEnd = end < lines.size() ? lines[end].start : bytes.size();
    SetFilePart found;
    found.bytes = bytes.substr(lines[start.first].start, byteEnd - lines[start.first].start);
    found.firstLine = static_cast<int32_t>(start.first) + 1;
    if (start.name != kNone) found.name = lines[start.name].text;
    layout.parts.push_back(found);
    bound = end;
  }
  if (!anchors.empty()) AddStrayLines(lines, bound, lines.size(), layout.strayLines);
  return layout;
}

std::vector<std::unique_ptr<LineSource>> SplitSetFile(const std::string& fileName,
                                                      std::string_view bytes,
                                                      TextEncoding encoding) {
  // One decision for the whole file, so that every part reads its bytes alike.
  encoding = ResolveEncoding(bytes, encoding);
  std::vector<std::unique_ptr<LineSource>> sources;
  for (const SetFilePart& part : SetFileParts(bytes).parts) {
    auto source = std::make_unique<LineSource>(
        fileName + " part " + std::to_string(sources.size() + 1), part.bytes, encoding);
    source->SetFirstLineInFile(part.firstLine);
    sources.push_back(std::move(source));
  }
  return sources;
}

}  // namespace musedata
