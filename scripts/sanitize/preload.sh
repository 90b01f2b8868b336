# Sourced by scripts/test-sanitize and scripts/fuzz: sets LD_PRELOAD to the system's GL, EGL,
# DRI and X11 libraries that exist here.
#
# SDL and the GL backend load these at run time and unload them again when a window or the
# backend closes. Memory they keep for the process is then reachable only from data that is no
# longer mapped, and LeakSanitizer reports it with "<unknown module>" frames that no
# suppression can name. Preloading keeps them mapped, so their state stays reachable and
# anything they really leak is attributed by name. The sanitizer runtime is not preloaded
# (ctest and cmake would be checked too); the programs under test carry it and initialise it
# before any library constructor runs, so the link order check is switched off.
velmora_pin=()
velmora_libdir=/usr/lib/$(gcc -print-multiarch 2>/dev/null || echo x86_64-linux-gnu)
for velmora_lib in libGL.so.1 libEGL.so.1 libGLX_mesa.so.0 libEGL_mesa.so.0 dri/swrast_dri.so libX11.so.6 \
    libXext.so.6 libXcursor.so.1 libXi.so.6 libXrandr.so.2 libXss.so.1 libXfixes.so.3 libxkbcommon.so.0; do
    [ -f "$velmora_libdir/$velmora_lib" ] && velmora_pin+=("$velmora_libdir/$velmora_lib")
done
export LD_PRELOAD="${velmora_pin[*]}"
export ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}verify_asan_link_order=0"
unset velmora_pin velmora_libdir velmora_lib
