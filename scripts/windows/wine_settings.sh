# wine_settings.sh: what every call of Wine for this build has: a prefix of the build's own, no display, the C locale, which
# must not reach the programs' code page. The prefix has a link to the root of the file system, so it is no part of the tree:
# whoever walks that, as the build of the Python package does, would walk everything.
settings_of=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
export WINEPREFIX=${XDG_CACHE_HOME:-$HOME/.cache}/tonekit/wine-$(cksum <<<"$settings_of" | cut -d ' ' -f 1)
export WINEDEBUG=-all DISPLAY= LC_ALL=C.UTF-8
