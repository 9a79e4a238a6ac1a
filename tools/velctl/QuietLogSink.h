#pragma once

namespace velctl {

// Whether libvel's log lines reach stderr (off unless --verbose).
void setLibraryLogVisible(bool visible);

} // namespace velctl
