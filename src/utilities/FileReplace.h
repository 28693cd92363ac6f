/** Rewriting a file so that a failure half way costs nothing. */
#pragma once

#include <string>
#include <string_view>

namespace utilities {

/** Puts `content` in place of what the file at `path` holds, written through to the device. The new
 *  content is laid in a temporary file beside it and renamed over it, so at any moment, a power cut
 *  included, the file holds either the old or the new. Owner and mode stay; a symbolic link stays
 *  and its target is replaced; a missing file is made with mode 0644.
 *
 *  False, with the old file as it was and no temporary left: the file is not a regular one, it or
 *  its directory can't be written, or the device is full. May throw std::bad_alloc.
 */
bool replaceFile(const std::string& path, std::string_view content);

}  // namespace utilities
