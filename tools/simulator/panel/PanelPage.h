#pragma once

// The panel's page, built into the simulator from tools/simulator/panel/page/ so that it
// needs no files and no network when it runs.

#include <string_view>
#include <vector>

namespace simulator {

struct PanelFile {
    std::string_view path; // "/", "/panel.js"
    std::string_view type; // its Content-Type
    std::string_view content;
};

const std::vector<PanelFile>& panelFiles();

} // namespace simulator
