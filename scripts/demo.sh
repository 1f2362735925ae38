#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT
#
# demo.sh [OUTDIR]: from a fresh checkout to results. Installs missing packages, builds, flies a strip over real
# terrain, projects points of its images to the ground and back, and makes an orthophoto of three bands, their
# footprints and a quick-look of both. Then flies a block whose orientation has errors, adjusts it, and measures and
# draws how its orthophotos fit before and after. Replaces OUTDIR (demo-output), which then holds all flights and
# results.
set -euo pipefail
cd "$(dirname "$0")/.."
out=${1:-demo-output}
dem=data/terrain/jacksboro_dem.tif
bands=(PANF27A PANN00A PANB14A)
scripts/deps.sh
scripts/build.sh release kes kessensor_python
kes=build/release/apps/kes/kes

echo "== A flight over the Jacksboro fault, Tennessee, with images of its forward, nadir and backward looking lines"
rm -rf "$out"
"$kes" simulate "$out" --dem "$dem" --lines 10000 --samples 6000 --heading 52 "${bands[@]/#/--render=}"
strip=$out/strip.stp
camera=(--calibrations "$out/calibration")

echo
echo "== The strip"
"$kes" info "$strip" "${camera[@]}"

for band in "${bands[@]}"; do
  echo
  echo "== A grid of $band on the terrain (UTM zone 16, metres) and back"
  {
    echo "sample,line"
    for line in 0 3333.25 6666.5 9999; do
      for sample in 0 1999.75 4000.5 5999; do
        echo "$sample,$line"
      done
    done
  } > "$out/$band.csv"
  "$kes" project "$strip" "${camera[@]}" --band "$band" --to ground --frame map --crs EPSG:32616 --dem "$dem" --verify \
    "$out/$band.csv" | tee "$out/$band-ground.csv"
done

echo
echo "== Closure of image to ground to image, over each band at four heights"
"$kes" closure "$strip" "${camera[@]}" "${bands[@]/#/--band=}" --grid 100

echo
echo "== Orthophoto: forward look in red, nadir in green, backward in blue"
"$kes" ortho "$strip" "${camera[@]}" "${bands[@]/#/--band=}" --dem "$dem" --crs EPSG:32616 --gsd 0.5 -o "$out/ortho.tif"
"$kes" footprint "$strip" "${camera[@]}" --dem "$dem" -o "$out/footprints.geojson"

# A reduced orthophoto with the outlines drawn in.
export GDAL_PAM_ENABLED=NO
gdal_translate -q -outsize 1200 0 -r average -ot Byte -scale 15000 58000 -a_nodata none \
  "$out/ortho.tif" "$out/quicklook.tif"
ogr2ogr -t_srs EPSG:32616 -nlt LINESTRING "$out/outlines.geojson" "$out/footprints.geojson"
outline() {
  gdal_rasterize -q -at -where "band = '$1'" -b 1 -b 2 -b 3 -burn "$2" -burn "$3" -burn "$4" "$out/outlines.geojson" \
    "$out/quicklook.tif"
}
outline "${bands[0]}" 255 80 80
outline "${bands[1]}" 80 255 80
outline "${bands[2]}" 80 160 255
gdal_translate -q -of PNG "$out/quicklook.tif" "$out/quicklook.png"
rm "$out/outlines.geojson" "$out/quicklook.tif"

echo
echo "== The same in Python: the four corners of the nadir image on the terrain"
PYTHONPATH=build/release/python /usr/bin/python3 - "$out" "$dem" <<'PYTHON'
import sys
import kessensor as ks
band = ks.Strip(f"{sys.argv[1]}/strip.stp")["PANN00A"]
ground = band.to_ground([[0], [band.samples - 1]], [0, band.lines - 1], surface=ks.Surface(sys.argv[2]), crs="EPSG:32616")
print(band, *zip(ground.x.ravel(), ground.y.ravel(), ground.z.ravel()), sep="\n")
PYTHON

block=$out/block
ortho() {
  "$kes" ortho "${@:2}" --calibrations "$block/calibration" --band PANN00A --dem "$dem" --crs EPSG:32616 --gsd 0.2 \
    --format GTiff --type UInt16 --orientation "$1"
}
# Orthophotos of the three parallel strips with an orientation, and how far they depart from one another.
fit_of() {
  for strip in Line1 Line2 Line3; do
    ortho "$1" "$block/$strip/strip.stp" -o "$block/$1-$strip.tif"
  done
  scripts/examples/mismatch.py "$block/$1"-Line{1,2,3}.tif
}
median_of() {
  sed -E 's/.*median ([0-9.]+),.*/\1/' <<< "$1"
}

echo
echo "== A block of three strips and one across, with a boresight and the errors of a tactical navigation system"
scripts/demo/landscape.py "$out/landscape.tif" EPSG:32616 745700 4052100 747000 4053700
"$kes" simulate "$block" --dem "$dem" --strips 3 --cross 1 --lines 3000 --samples 2400 --control 4 --check 8 --ties 2 \
  --navigation tactical --boresight sigma=3e-4 --seed 7 --texture "$out/landscape.tif" --render PANN00A
before=$(fit_of original)

echo
echo "== Its adjustment by four control points and the tie points"
"$kes" adjust "$block/block.blf" --prior tactical -o "$block/adjustment"
after=$(fit_of adjusted)

echo
echo "== Orthophotos of neighbouring strips where they overlap"
echo "recorded orientation: $before"
echo "adjusted orientation: $after"

# A place on the seam between the first two strips, from the mosaic with each orientation.
place=(--extent 746276 4052590 746366 4052634)
for orientation in original adjusted; do
  ortho "$orientation" "$block/block.blf" "${place[@]}" -o "$block/$orientation-seam.tif"
done
ortho original "$block/Line1/strip.stp" "${place[@]}" -o "$block/seam-Line1.tif"
scripts/demo/seam.py "$out/seam.png" "$block/seam-Line1.tif" \
  "$block/original-seam.tif" "Recorded orientation: $(median_of "$before") pixels between strips (median)" \
  "$block/adjusted-seam.tif" "Adjusted orientation: $(median_of "$after") pixels"
rm "$out/landscape.tif" "$block"/*seam*.tif

echo
echo "In $out: the flight (strip.stp), ortho.tif, footprints.geojson, and a picture of both, quicklook.png;"
echo "in $block: the adjusted block, and orthophotos of its strips before and after; seam.png shows a seam of both"
