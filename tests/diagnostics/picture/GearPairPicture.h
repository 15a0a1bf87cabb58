#pragma once

#include <filesystem>

#include "diagnostics/picture/Picture.h"

struct GearPairPicture {
  Tessaril::Diagnostics::GraphSnapshot snapshot;
  Tessaril::Diagnostics::PictureOptions options;
};

/// The gear pair of the example application after its torque was changed and the design updated
/// again: the flags, the chains, and what the update did and why. Without durations, so that it is
/// always the same.
///
/// `design` is a gear file. draw_gear_pair writes it as SVG, which is how docs/graph_picture.svg is
/// made.
GearPairPicture gearPairPicture(const std::filesystem::path& design);
