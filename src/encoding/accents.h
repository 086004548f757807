#pragma once

// MuseData writes accented letters as a backslash, an accent digit and a
// letter ("\7e" is é). This table serves both directions.

#include <array>
#include <string_view>

namespace musedata {

struct Accent {
  char digit;
  char letter;
  std::string_view character;  // UTF-8
};

inline constexpr std::array<Accent, 55> kAccents{{
    {'1', 'n', "ñ"}, {'1', 'N', "Ñ"}, {'1', 'o', "õ"}, {'1', 'O', "Õ"}, {'1', 'a', "ã"},
    {'1', 'A', "Ã"}, {'2', 'c', "ç"}, {'2', 'C', "Ç"}, {'2', 'o', "ø"}, {'2', 'O', "Ø"},
    {'2', 's', "ß"}, {'3', 'a', "ä"}, {'3', 'A', "Ä"}, {'3', 'e', "ë"}, {'3', 'E', "Ë"},
    {'3', 'i', "ï"}, {'3', 'I', "Ï"}, {'3', 'o', "ö"}, {'3', 'O', "Ö"}, {'3', 'u', "ü"},
    {'3', 'U', "Ü"}, {'4', 'a', "å"}, {'4', 'A', "Å"}, {'5', 's', "š"}, {'5', 'S', "Š"},
    {'7', 'a', "á"}, {'7', 'A', "Á"}, {'7', 'e', "é"}, {'7', 'E', "É"}, {'7', 'i', "í"},
    {'7', 'I', "Í"}, {'7', 'o', "ó"}, {'7', 'O', "Ó"}, {'7', 'u', "ú"}, {'7', 'U', "Ú"},
    {'8', 'a', "à"}, {'8', 'A', "À"}, {'8', 'e', "è"}, {'8', 'E', "È"}, {'8', 'i', "ì"},
    {'8', 'I', "Ì"}, {'8', 'o', "ò"}, {'8', 'O', "Ò"}, {'8', 'u', "ù"}, {'8', 'U', "Ù"},
    {'9', 'a', "â"}, {'9', 'A', "Â"}, {'9', 'e', "ê"}, {'9', 'E', "Ê"}, {'9', 'i', "î"},
    {'9', 'I', "Î"}, {'9', 'o', "ô"}, {'9', 'O', "Ô"}, {'9', 'u', "û"}, {'9', 'U', "Û"},
}};

// The character of an escape, or "" when the table has no such pair.
constexpr std::string_view AccentCharacter(char digit, char letter) noexcept {
  for (const Accent& accent : kAccents)
    if (accent.digit == digit && accent.letter == letter) return accent.character;
  return {};
}

}  // namespace musedata
