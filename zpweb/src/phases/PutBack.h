// The way back of files that were put in place.
#pragma once

#include <string>
#include <vector>

#include "store/Journal.h"
#include "store/State.h"
#include "sys/Outcome.h"

namespace zpweb {

// How a file of a change stands now.
enum class Standing { Old, New, Else };
Expected<Standing> standingOf(const ChangedFile& file);

// The files that are as the change made them become what they were, from its checkpoint. Others stay as
// they are.
Outcome putBack(const State& state, const Journal& journal);

// A second name for what stands at the path, or a copy where the file system has none to give: of `size`
// bytes at most, for where its owner writes it can have become anything.
Outcome keepAs(const std::string& path, const std::string& name, size_t size);

}  // namespace zpweb
