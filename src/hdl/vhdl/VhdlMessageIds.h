// Every message id of the VHDL front-end, in one place so that ids never collide.
//
// Ids that the scanner configures by number keep the meaning it expects and are not
// used for anything else: VHDL-1238, VHDL-1260, VHDL-1261, VHDL-1283 (raised to error
// by the scanner's capture), VHDL-9017, VHDL-9019, VHDL-9021 (ignored by the scanner),
// VHDL-1317 and VHDL-1474 (allowed through during elaboration). The front-end does not
// issue any of them yet.
#pragma once

namespace hdl {
namespace vhdl_msg {

// Lexical level.
inline constexpr const char* kBadCharacter = "VHDL-1001";      // error: character not allowed
inline constexpr const char* kUnterminatedString = "VHDL-1002"; // error: string/ext. id not closed
inline constexpr const char* kBadLiteral = "VHDL-1003";        // error: malformed abstract/bit string literal
inline constexpr const char* kUnterminatedComment = "VHDL-1004"; // error: /* without */
inline constexpr const char* kPslIgnored = "VHDL-1005";        // info: PSL text skipped
inline constexpr const char* kProtectIgnored = "VHDL-1006";    // warning: protected envelope skipped
inline constexpr const char* kDirective = "VHDL-1007";         // warning/error: tool directive text (`warning, `error)
inline constexpr const char* kBadDirective = "VHDL-1008";      // error: malformed tool directive
inline constexpr const char* kPragmaUnclosed = "VHDL-1009";    // warning: translate_off without translate_on

// Syntax.
inline constexpr const char* kSyntax = "VHDL-1100";            // error: unexpected token
inline constexpr const char* kEndLabel = "VHDL-1101";          // warning: closing label differs from the opening one
inline constexpr const char* kTooDeep = "VHDL-1102";           // error: nesting too deep
inline constexpr const char* kNotInEdition = "VHDL-1103";      // warning: construct of a later edition
inline constexpr const char* kPslDeclarationPlace = "VHDL-1104"; // warning: PSL declaration among statements

// Files and libraries.
inline constexpr const char* kAnalyzing = "VHDL-1500";         // info: "analyzing VHDL file '%s' into library '%s'"
inline constexpr const char* kCannotOpen = "VHDL-1501";        // error: file cannot be opened
inline constexpr const char* kReplacing = "VHDL-1502";         // warning: unit re-analysed, the old one is replaced
inline constexpr const char* kNoPrimary = "VHDL-1503";         // error: secondary unit without its primary unit
inline constexpr const char* kBinaryInput = "VHDL-1504";       // error: input is not text
inline constexpr const char* kUnknownUnit = "VHDL-1505";       // error: a use clause or context reference names a unit its library lacks

} // namespace vhdl_msg
} // namespace hdl
