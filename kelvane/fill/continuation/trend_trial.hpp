// How far the trend of a hole's surroundings can be trusted, judged where the surface is known.
#pragma once

#include "kelvane/fill/continuation/height_model.hpp"
#include "kelvane/fill/continuation/surface_samples.hpp"

namespace Mesh_M::fill {

/// The trust, 0 to 1, in a trend that was learnt from `samples`, against a plate that assumes
/// nothing of the surface (PlateField). The border, and the border with the row behind it, are
/// foretold from the rings behind them by both; the trust grows with the weight by which both
/// together come nearest (stacking: Wolpert 1992, Breiman 1996). 1 where there is too little for a
/// trial.
double trend_trust(const HeightModel& trend, const SurfaceSamples& samples);

} // namespace Mesh_M::fill
