// VelmoraUI: the whole public interface in one include.
#pragma once

#include "velmora/version.hpp"

#include "velmora/core/canvas.hpp"
#include "velmora/core/geometry.hpp"
#include "velmora/core/theme.hpp"
#include "velmora/core/utf8.hpp"

#include "velmora/gpu/vg.hpp"
