// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/CoordinateSystem.h>
#include <kes/Strip.h>
#include <kes/Surface.h>
#include <kesgdal/OrthoPlan.h>
#include <kesgdal/kesgdal_export.h>

#include <functional>
#include <string>

namespace kesgdal {

/// Called with the part that is done, 0 to 1, by one thread at a time.
using Progress = std::function<void(double)>;

/// Takes a strip, whose data are loaded.
using StripVisitor = std::function<void(kes::Strip const&)>;

/// Calls a visitor with each of the strips, in the same order each time. A strip has its data during the call; it isn't
/// used any longer afterwards, so that one at a time is enough in memory.
using EachStrip = std::function<void(StripVisitor const&)>;

/// Orthorectifies the images of bands of one or more strips, which lie in the strips' folders of images, and writes a
/// Cloud Optimized GeoTIFF or a GeoTIFF: in the system `map`, on the pixels of `OrthoGrid` around all images or those
/// that the plan asks for, with a raster band for each band, described by its id. A strip that lacks a band is left out
/// of that one. The strips are gone through twice: for what has to be known before the first pixel, and for the pixels.
///
/// Each pixel's centre is projected as by `OrthoTransformer`, and the image interpolated there in double precision.
/// Where strips overlap, a pixel shows the strip in whose image it lies nearest to the middle of the line, in samples,
/// among those that have data there; the first of these when several are as near. So the view is as steep as any, and
/// seams run through the middle of overlaps. Strips aren't blended, and their brightness isn't balanced.
///
/// Memory grows neither with the orthophoto nor with the number of strips: 256 MiB of the image's blocks at the most,
/// about 30 MB to each thread (up to 150 MB where a pixel is more than 256 of the image wide) and the block that it
/// reads, the surface's tiles, and GDAL's cache of blocks while the file is made (its option GDAL_CACHEMAX). Blocks are
/// read as a whole: an image with blocks of more than 256 MiB is refused. Beside the file it needs room for the pixels
/// without compression, but for those of pieces without any data, and for four bytes more to a pixel when several
/// strips are seen.
///
/// The file's metadata say what it was made of and how well its pixels close, in items "KES_..."; their sums of the
/// inputs take the time to read each once more. docs/kes.md lists them.
///
/// The file appears under its name as a whole, after it was closed and found to be whole, or not at all; an older one
/// is replaced, with what GDAL keeps beside it.
///
/// Throws std::runtime_error, with the place: no strip, or one whose data aren't loaded or that isn't the same the
/// second time; an extent or a scale of the plan whose lower end isn't below the upper one; a type that doesn't hold
/// all values without a scale; a creation option that the format doesn't have or that would change pixels; "can't cut
/// by FILE: " with the reason; "no image shows anything of the part of the map that is asked for"; "no band "ID" in the
/// strip, which has ..." for a band that none of them has; a band without an image, an image that isn't of one band,
/// has another size than the strip says or larger blocks than are read, a value without data that the images' type
/// can't hold; a map that is neither projected nor geographic; an elevation model that doesn't cover any of the images;
/// a size of pixels that isn't in proportion to an image's, "ground sampling distance of <gsd> m isn't between 0.01 and
/// 1024 times that of the image of band <id>, <gsd> m", since the run would hardly end; a grid as `OrthoGrid` doesn't
/// allow; and "can't write FILE: " with the reason. What `strips` throws goes through.
KESGDAL_EXPORT void writeOrthophoto(EachStrip const& strips, kes::CoordinateSystem const& map,
                                    kes::Surface const& surface, OrthoPlan const& plan, std::string const& fileName,
                                    Progress const& progress = {});

/// The same for one strip.
KESGDAL_EXPORT void writeOrthophoto(kes::Strip const& strip, kes::CoordinateSystem const& map,
                                    kes::Surface const& surface, OrthoPlan const& plan, std::string const& fileName,
                                    Progress const& progress = {});

}  // namespace kesgdal
