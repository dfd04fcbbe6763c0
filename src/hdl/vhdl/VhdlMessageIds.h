// Every message id of the VHDL front-end, in one place so that ids never collide.
//
// Ids that the scanner configures by number keep the meaning it expects and are not
// used for anything else: VHDL-1238, VHDL-1260, VHDL-1261, VHDL-1283 (raised to error
// by the scanner's capture), VHDL-9017, VHDL-9019, VHDL-9021 (ignored by the scanner),
// VHDL-1317 and VHDL-1474 (allowed through during elaboration: elaboration uses them for
// what the parent should hear of, an instance left unbound and the design's own
// assertions). The front-end does not issue the others yet.
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

// Elaboration.
inline constexpr const char* kElabUnbound = "VHDL-1317";     // warning: a component instance that no unit binds
inline constexpr const char* kElabAssertion = "VHDL-1474";   // by severity: an assertion or report of the design while elaborating
inline constexpr const char* kElabNotStatic = "VHDL-1600";   // error: a value elaboration needs cannot be worked out
inline constexpr const char* kElabDivision = "VHDL-1601";    // error: division by zero
inline constexpr const char* kElabRange = "VHDL-1602";       // error: a value outside the range of its subtype, an overflow
inline constexpr const char* kElabIndex = "VHDL-1603";       // error: an index outside the array, lengths that do not match
inline constexpr const char* kElabLoopBound = "VHDL-1604";   // error: a loop or generate runs past the iteration bound
inline constexpr const char* kElabCallDepth = "VHDL-1605";   // error: calls nested past the depth bound (recursion without end)
inline constexpr const char* kElabNoReturn = "VHDL-1606";    // error: a function ends without return
inline constexpr const char* kElabNoGeneric = "VHDL-1607";   // error: a generic map names no generic of the unit
inline constexpr const char* kElabNoValue = "VHDL-1608";     // error: a generic without default gets no value
inline constexpr const char* kElabInstanceDepth = "VHDL-1609"; // error: a unit instantiates itself without end
inline constexpr const char* kElabTopGeneric = "VHDL-1610";  // warning: a generic of the generic map that no top has
inline constexpr const char* kElabConfiguration = "VHDL-1611"; // error: a configuration or binding names a unit that does not exist
inline constexpr const char* kElabSteps = "VHDL-1612";       // error: the evaluation step bound is reached
inline constexpr const char* kElabNoTop = "VHDL-1613";       // error: a top that no library holds

// Saved libraries.
inline constexpr const char* kStoreUnreadable = "VHDL-1700";   // error: a saved unit cannot be restored
inline constexpr const char* kStoreUnwritable = "VHDL-1701";   // error: a unit cannot be saved

} // namespace vhdl_msg
} // namespace hdl
