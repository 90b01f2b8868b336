// Render-all: drives the real gallery unattended and writes PNG files and a JSON report.
#pragma once

#include "gallery/gallery.hpp"

#include "velmora/core/canvas.hpp"
#include "velmora/platform/window.hpp"
#include "velmora/renderer/renderer.hpp"

#include <string>

namespace gallery {

// Every page at every scroll stop, six overlays opened by synthetic input and the refraction
// proof, written under `directory`. Returns the exit code: 0 when all 68 catalogued classes
// were painted and refraction moved more than 1000 pixels, else 2. Failures throw.
int render_all(velmora::ui::Window& window, velmora::ui::Renderer& renderer, velmora::ui::Canvas& canvas,
               Gallery& gallery, const std::string& directory);

} // namespace gallery
