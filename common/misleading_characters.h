#pragma once

namespace common {

/// Whether a character, a Unicode scalar value, may mislead who looks at a name: it is a command to
/// what shows it, breaks the line, changes the order in which others are shown, or is not seen at
/// all. Whoever shows a name that others have chosen shows such a character as an escape.
///
/// In the terms of the Unicode Standard (14.0 to 15.1) these are
///   - General_Category Cc, Zl and Zp: the controls, and the line and paragraph separator;
///   - Default_Ignorable_Code_Point, which holds all of Bidi_Control, the zero width and filler
///     characters and the tags, but without Join_Control and Variation_Selector: many languages and
///     most emoji cannot be written without those;
///   - the interlinear annotation characters U+FFF9 to U+FFFB;
///   - Noncharacter_Code_Point.
/// Blanks are none of them, nor are combining marks that are seen. Any thread.
bool IsMisleading(char32_t character);

}  // namespace common
