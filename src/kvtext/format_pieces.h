// FormatPieces: the one reading of "%" in formats. Every walker over a format, whether it checks,
// prints or scans, takes the pieces from here and decides only what its directives mean.
#pragma once

namespace kv {

// The pieces of a format, one after the other: a character of literal text, or a directive, which
// is a "%" and the letter behind it. A "%" that ends the format is literal text. "%%" is a
// directive too, of the letter "%".
//
//   for (FormatPieces pieces(format); pieces.Next();) {
//     if (pieces.IsDirective()) ...
//   }
class FormatPieces {
 public:
  constexpr explicit FormatPieces(const char* format) : rest_(format) {}

  // Takes the next piece; false at the end of the format.
  constexpr bool Next() {
    if (*rest_ == 0) return false;
    isDirective_ = rest_[0] == '%' && rest_[1] != 0;
    if (isDirective_) ++rest_;
    character_ = *rest_++;
    return true;
  }

  constexpr bool IsDirective() const { return isDirective_; }
  constexpr bool IsDirective(char letter) const { return isDirective_ && character_ == letter; }
  constexpr bool IsLiteral(char literal) const { return !isDirective_ && character_ == literal; }

  // The literal character, or the letter of the directive.
  constexpr char Character() const { return character_; }

  // What stands behind the piece. Who knows directives of more than a letter moves it behind them.
  constexpr const char*& Rest() { return rest_; }

 private:
  const char* rest_;
  char character_ = 0;
  bool isDirective_ = false;
};

}  // namespace kv
