#pragma once

// The host's converter interface. A host that manages MusicXML documents
// drives every converter it knows through these members, in this order; a
// converter that cannot do something raises a ConverterError from the member.

#include <string>

#include "musedata/document.h"

namespace musedata {

class MusicXMLConverter {
 public:
  virtual ~MusicXMLConverter() = default;

  // Whether a conversion that a progress handler cancels by raising the
  // cancellation error reaches the host as that error (true) or ends with a
  // false result (false).
  virtual bool CancelError() const = 0;
  virtual void SetCancelError(bool value) = 0;
  // Whether the converter can read its format into MusicXML.
  virtual bool CanLoad() const = 0;
  // Whether the converter can write MusicXML out in its format.
  virtual bool CanSave() const = 0;
  // Whether the converter keeps a document model of its own beside MusicXML.
  virtual bool HasOwnXML() const = 0;
  // The converter's own document model; an empty handle when it has none.
  virtual Document OwnXML() const = 0;
  virtual void SetOwnXML(Document value) = 0;
  // The DTD system identifier used for new MusicXML documents.
  virtual std::string SystemIdentifier() const = 0;
  virtual void SetSystemIdentifier(std::string value) = 0;
  // Whether conversions go through the converter's own document model.
  virtual bool UseOwnXml() const = 0;
  virtual void SetUseOwnXml(bool value) = 0;
  // The MusicXML document last loaded, or the one to be saved; shared with the host.
  virtual Document XML() const = 0;
  virtual void SetXML(Document value) = 0;
  // Builds MusicXML from the converter's own document model.
  virtual void FromOwnXML() = 0;
  // Reads the file `FileName` into XML. False when the conversion stopped early.
  virtual bool Load(const std::string& FileName) = 0;
  // Writes XML to the file `FileName`. False when the conversion stopped early.
  virtual bool Save(const std::string& FileName) = 0;
  // Builds the converter's own document model from MusicXML.
  virtual void ToOwnXML() = 0;
};

}  // namespace musedata
