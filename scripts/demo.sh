#!/usr/bin/env bash
# demo.sh [OUTDIR]: from nothing to output. Installs what is missing, builds, flies a strip over real terrain, and projects
# points of its images to the ground and back. The flight stays in OUTDIR (demo-output).
set -euo pipefail
cd "$(dirname "$0")/.."
out=${1:-demo-output}
scripts/deps.sh
scripts/build.sh release kes
kes=build/release/apps/kes/kes

echo "== A flight over the Jacksboro fault, Tennessee"
rm -rf "$out"
"$kes" simulate "$out" --dem data/terrain/jacksboro_dem.tif --lines 20000 --heading 52
strip=$out/strip.stp
camera=(--calibrations "$out/calibration")

echo
echo "== The strip"
"$kes" info "$strip" "${camera[@]}"

for band in PANF27A PANN00A PANB14A; do
  echo
  echo "== A grid of $band on the ground (east, north, up at the anchor, metres) and back"
  {
    echo "sample,line,height"
    for line in 0 6666.25 13333.5 19999; do
      for sample in 0 3999.75 8000.5 11999; do
        echo "$sample,$line,35"
      done
    done
  } > "$out/$band.csv"
  "$kes" project "$strip" "${camera[@]}" --band "$band" --to ground --verify "$out/$band.csv" |
    tee "$out/$band-ground.csv"
done

echo
echo "== Closure of image to ground to image, over each band at four heights"
"$kes" closure "$strip" "${camera[@]}" --band PANF27A --band PANN00A --band PANB14A --grid 100
