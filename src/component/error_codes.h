#pragma once

// Every procedure of the converter with its error number and the name its
// messages use. Numbers are offsets from kErrorBase.

#include "component/trap.h"

namespace musedata {

// Document set-up (no "MuseData " before the name).
inline constexpr Procedure kInitializeXML{6003, "InitializeXML"};
inline constexpr int32_t kErrXmlInitializationParse = 6004;
inline constexpr Procedure kCleanseComment{6047, "CleanseComment"};

// The component.
inline constexpr Procedure kComponentLoad{6005, "MuseData Load"};
inline constexpr Procedure kComponentSave{6006, "MuseData Save"};
inline constexpr int32_t kErrCancelled = 6007;
inline constexpr int32_t kErrOwnXmlNotSupported = 6074;
inline constexpr int32_t kErrUseOwnXmlNotSupported = 6075;
inline constexpr int32_t kErrFromOwnXmlNotSupported = 6076;
inline constexpr int32_t kErrToOwnXmlNotSupported = 6077;

// The engine's drivers and reader.
inline constexpr Procedure kLoad{6008, "MuseData Load"};
inline constexpr int32_t kErrFileNotFound = 6078;
inline constexpr Procedure kSave{6053, "MuseData Save"};
inline constexpr Procedure kNextRecord{6009, "MuseData Next Record"};
inline constexpr Procedure kParseComment{6022, "MuseData ParseComment"};
inline constexpr Procedure kParseCommentToggle{6023, "MuseData ParseCommentToggle"};
inline constexpr Procedure kParseSingleLineComment{6037, "MuseData ParseSingleLineComment"};

// Shared encodings.
inline constexpr Procedure kConvertBase40{6012, "MuseData ConvertBase40"};
inline constexpr Procedure kConvertDigit{6013, "MuseData ConvertDigit"};
inline constexpr Procedure kConvertToDigit{6069, "MuseData ConvertToDigit"};
inline constexpr Procedure kConvertToBase40{6071, "MuseData ConvertToBase40"};
inline constexpr Procedure kAddText{6014, "MuseData AddText"};
inline constexpr int32_t kErrAddTextNoElement = 6079;
inline constexpr Procedure kGetText{6073, "MuseData GetText"};
inline constexpr Procedure kDivideFonts{6016, "MuseData DivideFonts"};
inline constexpr Procedure kGetNextNumber{6017, "MuseData GetNextNumber"};
inline constexpr Procedure kAddFontNumber{6080, "MuseData AddFontNumber"};
inline constexpr Procedure kConvertFontNumber{6081, "MuseData ConvertFontNumber"};

// Import record handlers.
inline constexpr Procedure kCreateDirectionType{6010, "MuseData CreateDirectionType"};
inline constexpr int32_t kErrRehearsalDirection = 6045;
inline constexpr Procedure kCreateNoteType{6011, "MuseData CreateNoteType"};
inline constexpr Procedure kCueGraceType{6015, "MuseData CueGraceType"};
inline constexpr Procedure kWordDirectionType{6018, "MuseData WordDirectionType"};
inline constexpr Procedure kParseAttributes{6019, "MuseData ParseAttributes"};
inline constexpr Procedure kParseBackupForward{6020, "MuseData ParseBackupForward"};
inline constexpr Procedure kParseBarLine{6021, "MuseData ParseBarLine"};
inline constexpr Procedure kParseCueGrace{6024, "MuseData ParseCueGrace"};
inline constexpr Procedure kParseDirection{6025, "MuseData ParseDirection"};
inline constexpr Procedure kParseEnd{6026, "MuseData ParseEnd"};
inline constexpr int32_t kErrUnknownEndRecord = 6027;
inline constexpr Procedure kParseFiguredBass{6028, "MuseData ParseFiguredBass"};
inline constexpr int32_t kErrFiguredBass = 6029;
inline constexpr Procedure kParseInitialLine{6030, "MuseData ParseInitialLine"};
// The work/movement record names neither a work nor a movement number.
inline constexpr int32_t kErrWorkMovementNotFound = 6032;
// A group record is not "<group>: part <n> of <m>".
inline constexpr int32_t kErrGroupRecordTokens = 6033;
// A header record was not understood and the first header record looked like XML.
inline constexpr int32_t kErrHeaderMayBeXml = 6082;
inline constexpr Procedure kParseNotations{6034, "MuseData ParseNotations"};
// An editorial ("^") or cautionary ("+") natural on a note that has neither an
// accidental nor any later printed field to stand before.
inline constexpr int32_t kErrEditorialNaturalPlaceholder = 6042;
inline constexpr int32_t kErrCautionaryNaturalPlaceholder = 6043;
inline constexpr Procedure kParseNoteRecord{6035, "MuseData ParseNoteRecord"};
inline constexpr Procedure kParsePrintSuggestion{6036, "MuseData ParsePrintSuggestion"};
inline constexpr Procedure kParseSoundSuggestion{6038, "MuseData ParseSoundSuggestion"};
inline constexpr Procedure kParseStage2Data{6039, "MuseData ParseStage2Data"};
inline constexpr Procedure kCreateIdentification{6040, "MuseData CreateIdentification"};
inline constexpr Procedure kParseAfterFine{6046, "MuseData ParseAfterFine"};
inline constexpr Procedure kCreateDynamicElement{6048, "MuseData CreateDynamicElement"};

// Export writers.
inline constexpr Procedure kSavePosition{6050, "MuseData SavePosition"};
inline constexpr Procedure kReset{6051, "MuseData Reset"};
inline constexpr Procedure kInitTracks{6052, "MuseData InitTracks"};
inline constexpr Procedure kSaveData{6054, "MuseData SaveData"};
inline constexpr Procedure kSaveHeader{6055, "MuseData SaveHeader"};
inline constexpr Procedure kSaveAttributes{6056, "MuseData SaveAttributes"};
inline constexpr Procedure kSaveBackupForward{6057, "MuseData SaveBackupForward"};
inline constexpr Procedure kSaveDirection{6058, "MuseData SaveDirection"};
inline constexpr Procedure kSaveFiguredBass{6059, "MuseData SaveFiguredBass"};
inline constexpr Procedure kSaveLyrics{6060, "MuseData SaveLyrics"};
inline constexpr Procedure kSaveMeasure{6061, "MuseData SaveMeasure"};
inline constexpr Procedure kSaveNote{6062, "MuseData SaveNote"};
inline constexpr Procedure kSavePrint{6063, "MuseData SavePrint"};
inline constexpr Procedure kSaveSound{6064, "MuseData SaveSound"};
inline constexpr Procedure kSaveComment{6065, "MuseData SaveComment"};
inline constexpr int32_t kErrNoPart = 6066;
inline constexpr int32_t kErrNoScorePart = 6067;
inline constexpr Procedure kSaveNotations{6070, "MuseData SaveNotations"};
inline constexpr Procedure kSaveVoice{6072, "MuseData SaveVoice"};

// The finishing step over a whole score, outside the converter component.
inline constexpr Procedure kFinishScore{6090, "MuseData FinishScore"};
inline constexpr Procedure kRemoveEmptyEndMeasures{6091, "MuseData RemoveEmptyEndMeasures"};
inline constexpr Procedure kMendDoubleRepeats{6092, "MuseData MendDoubleRepeats"};
inline constexpr Procedure kNumberVoices{6093, "MuseData NumberVoices"};
inline constexpr Procedure kCloseTies{6094, "MuseData CloseTies"};
inline constexpr Procedure kCloseTrillLines{6095, "MuseData CloseTrillLines"};
inline constexpr Procedure kAddTempoWords{6096, "MuseData AddTempoWords"};
inline constexpr Procedure kMendValues{6097, "MuseData MendValues"};
inline constexpr Procedure kMendCourtesyAccidentals{6098, "MuseData MendCourtesyAccidentals"};
inline constexpr Procedure kNameInstrument{6099, "MuseData NameInstrument"};
inline constexpr Procedure kTimeCueNotes{6100, "MuseData TimeCueNotes"};

// The finishing step for MuseData, over the tool's copy of a score.
inline constexpr Procedure kFinishForMuseData{6110, "MuseData FinishForMuseData"};
inline constexpr Procedure kAddMissingScoreParts{6111, "MuseData AddMissingScoreParts"};
inline constexpr Procedure kRenumberVoices{6112, "MuseData RenumberVoices"};
inline constexpr Procedure kMendAttributesForMuseData{6113, "MuseData MendAttributes"};
inline constexpr Procedure kCompleteOpeningAttributes{6114, "MuseData CompleteOpeningAttributes"};
inline constexpr Procedure kWriteDirectionsAsWords{6115, "MuseData WriteDirectionsAsWords"};
inline constexpr Procedure kMendNotes{6116, "MuseData MendNotes"};

}  // namespace musedata
