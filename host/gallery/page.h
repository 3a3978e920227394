#pragma once

#include <string>
#include <vector>

#include "host/gallery/exhibit.h"

namespace kv_host {

/// The gallery as one HTML page that needs nothing but the pictures beside it. `footing` says where and with
/// what it was made. `problems` are pictures that could not be shown, with the reason.
std::string GalleryPage(const std::vector<Room>& rooms, const std::string& footing,
                        const std::vector<std::string>& problems = {});

}  // namespace kv_host
