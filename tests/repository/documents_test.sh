#!/usr/bin/env bash
# Documents are what scripts/documents.py writes, links lead somewhere, and commands do what documents say.
# documents_test.sh SOURCE COMPILER BUILD WORK
set -euo pipefail
source=$1 compiler=$2 build=$3 work=$4
rm -rf "$work" && mkdir -p "$work/commands/scripts" "$work/commands/build" "$work/project"
unset CXXFLAGS LDFLAGS DESTDIR LD_LIBRARY_PATH PKG_CONFIG_PATH
export CXX=$compiler CMAKE_GENERATOR=Ninja CMAKE_BUILD_TYPE=Release
export CMAKE_BUILD_PARALLEL_LEVEL=${CMAKE_BUILD_PARALLEL_LEVEL:-2}
"$source/scripts/documents.py" --check "$build"

# The guide's commands, with the preview tool that has been built.
printf '#!/bin/sh\nexec "%s" "$@"\n' "$build/tools/noise_preview/noise_preview" >"$work/commands/scripts/preview.sh"
chmod +x "$work/commands/scripts/preview.sh"
for script in "$source"/samples/guide/*.sh; do
  (cd "$work/commands" && bash -euo pipefail "$script") | diff "${script%.sh}.txt" -
done

# The README's recipes for packages: the marked blocks, in a copy of the checkout. Package.same_bytes compares its build.
checkout=$work/checkout where=$work/where
mkdir "$checkout"
(cd "$source" && find . -mindepth 1 -maxdepth 1 ! -name .git ! -name build -exec cp -r -t "$checkout" {} +)
cp "$source/samples/first_field/first_field.cpp" "$checkout/main.cpp"
awk '/^<!-- run -->$/ { run = 1 } /^```$/ { run = inside = 0 } inside; run && /^```sh$/ { inside = 1 }' "$source/README.md" |
  sed "s|WHERE|$where|g" >"$work/recipes.sh"
export PKG_CONFIG_PATH=$where/lib/pkgconfig
(cd "$checkout" && bash -euxo pipefail "$work/recipes.sh") >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
"$checkout/your_program" | diff "$source/samples/first_field/first_field.txt" -
[ "$(find "$checkout/build" -maxdepth 1 -name '*.deb' | wc -l)" -eq 2 ] || { echo 'there are not two packages'; exit 1; }

# The README's project: built with that package, and configured with FetchContent.
cp "$checkout/main.cpp" "$source/samples/your_project/CMakeLists.txt" "$work/project"
cd "$work/project"
cmake -S . -B build -DCMAKE_PREFIX_PATH="$where" >"$work/log" && cmake --build build >>"$work/log" || { cat "$work/log"; exit 1; }
build/your_program | diff "$source/samples/first_field/first_field.txt" -
sed "s|/path/to/this/checkout|$checkout|" "$source/samples/your_project/fetched.cmake" >fetched.cmake
sed -i 's|^find_package.*|include(fetched.cmake)|' CMakeLists.txt
cmake -S . -B fetched >"$work/log" || { cat "$work/log"; exit 1; }
