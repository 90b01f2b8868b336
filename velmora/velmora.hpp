// VelmoraUI: the whole public interface in one include.
#pragma once

#include "velmora/version.hpp"

#include "velmora/core/canvas.hpp"
#include "velmora/core/geometry.hpp"
#include "velmora/core/theme.hpp"
#include "velmora/core/utf8.hpp"

#include "velmora/gpu/vg.hpp"

#include "velmora/platform/error.hpp"
#include "velmora/platform/gl_context.hpp"
#include "velmora/platform/input.hpp"
#include "velmora/platform/window.hpp"

#include "velmora/renderer/pixels.hpp"
#include "velmora/renderer/png.hpp"
#include "velmora/renderer/renderer.hpp"

#include "velmora/scene/scene.hpp"
#include "velmora/scene/widget.hpp"

#include "velmora/widgets/basic.hpp"
#include "velmora/widgets/containers.hpp"
#include "velmora/widgets/control_kind.hpp"
#include "velmora/widgets/dialogs.hpp"
#include "velmora/widgets/drives.hpp"
#include "velmora/widgets/fields.hpp"
#include "velmora/widgets/file_browser.hpp"
#include "velmora/widgets/glass_settings.hpp"
#include "velmora/widgets/lists.hpp"
#include "velmora/widgets/menus.hpp"
#include "velmora/widgets/palette.hpp"
#include "velmora/widgets/pickers.hpp"
#include "velmora/widgets/range.hpp"
#include "velmora/widgets/registry.hpp"
#include "velmora/widgets/table.hpp"
#include "velmora/widgets/text_field.hpp"

#include "velmora/immediate/ui.hpp"

#include "velmora/app/app.hpp"
