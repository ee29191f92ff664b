// The table of all effects: name, dialog title, number of arguments, preview, and the caption
// of the effects menu entry that opens each one.
#pragma once

#include <span>
#include <string_view>

#include "effects/effect.h"

namespace brv {

std::span<const EffectInfo> AllEffects();
// nullptr for a name that is not in the table.
const EffectInfo* FindEffectInfo(std::string_view name);
// The row of a name known to be in the table (an effect's own constructor asks for it).
const EffectInfo& EffectInfoOf(std::string_view name);

// The effect that an entry of the effects menu opens, by the entry's caption; empty for an
// entry that runs no effect through RunEffect (the two flips are commands of their own).
std::string_view EffectNameForMenuCaption(std::string_view caption);
// Whether an entry of the effects menu has an effect that can run yet.
bool IsEffectMenuEntryAvailable(std::string_view caption);

}  // namespace brv
