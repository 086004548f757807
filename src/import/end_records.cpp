// End records: "/END" finishes a part's data, "/FINE" turns what follows into
// commentary that is kept as one XML comment after the parts.

#include "component/error_codes.h"
#include "component/music_xml.h"

namespace musedata {

bool MusicXML::ParseEnd() {
  return Trap(kParseEnd, &m_caught, [&] {
    const std::string_view token = Record().Raw(2, 5);
    if (token == "END" || token == "END ") {
      m_reader.endOfData = true;
      m_reader.streamExhausted = true;
      // The final bar line opened a measure that nothing follows: drop it.
      if (m_score.currentMeasure && !m_score.currentMeasure.FirstChild()) {
        m_score.currentMeasure.Remove();
        m_score.currentMeasure = {};
      }
      return true;
    }
    if (token == "FINE") {
      m_reader.afterFine = true;
      m_reader.commentAccumulator.clear();
      return true;
    }
    RaiseConverterError(kErrUnknownEndRecord,
                        "Unrecognized end-of-file record \"" + std::string(token) + "\"");
  });
}

bool MusicXML::ParseAfterFine() {
  return Trap(kParseAfterFine, &m_caught, [&] {
    if (m_reader.currentRecord.empty() || m_reader.currentRecord.front() != '/') {
      m_reader.commentAccumulator.append(m_reader.currentRecord);
      m_reader.commentAccumulator.append("\r\n");
      return true;
    }
    AddText(m_score.root.AppendComment(""), m_reader.commentAccumulator);
    const bool result = ParseEnd();
    m_reader.afterFine = false;
    return result;
  });
}

}  // namespace musedata
