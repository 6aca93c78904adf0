// Texts by key and language: what lies behind Object::tr() and its kin.
#pragma once

#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/string.h>
#include <qel/platform/api.h>

#include <cstddef>

namespace qel::internal {

/// How large String::applyTrOnlyControlCodes() lets a text grow by pieces that hold pieces; a round of
/// replacement that would pass it is not made, and an error is logged.
inline constexpr std::size_t kMaximumTranslatedBytes = std::size_t(64) << 20;

/// Looks for the text of @p key in the resources "tr-KEY.LANGUAGE.txt", "tr-KEY.en.txt" and "tr-KEY.txt".
/// @param quiet  keeps the warnings about a missing translation or language back.
/// @param text   receives the content of the first that exists, else "NOTR:" and the key.
/// @return whether there was one. @threads any thread; no lock is held.
QEL_API bool lookUpTranslation(SmartCStr language, SmartCStr key, bool quiet, String& text);

} // namespace qel::internal
