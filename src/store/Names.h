// Typed learner names and challenge codes, cleaned the way the store keeps them.
#pragma once

#include <QString>

namespace Names {

// Longest learner name kept, in characters as the learner sees them (grapheme clusters).
inline constexpr qsizetype maximumNameLength = 80;
// Longest challenge code kept, in the same characters, after upper-casing.
inline constexpr qsizetype maximumCodeLength = 60;

// The first `count` user-perceived characters of the text: an emoji or a letter with accents counts once.
QString firstCharacters(const QString& text, qsizetype count);
// A typed learner name: white space and line breaks removed at both ends, then at most 80 characters.
QString cleanName(const QString& name);
// A typed club challenge code: trimmed, upper-cased without regard to locale, then at most 60 characters.
QString cleanCode(const QString& code);
// Two learner names are the same learner when they compare equal without regard to letter case.
bool sameName(const QString& a, const QString& b);

} // namespace Names
