"""What is installed, as a loader sees it."""

import subprocess

OURS = ("libqdm_", "libstdc++", "libgcc", "libc.", "libm.", "libasan", "libubsan")


def lines_of(lab, *command):
    library = lab.inside("/opt/velmora/qdm/provider/libqdmp_EMULEX_FC.so")
    return subprocess.run([*command, library], text=True, check=True,
                          capture_output=True).stdout.splitlines()


def test_provider_exports_its_two_symbols_and_finds_libraries_by_name_alone(lab):
    names = [line.split()[-1] for line in lines_of(lab, "nm", "-D", "--defined-only")]
    ours = [name for name in names if not name.startswith(("__asan", "__odr", "__ubsan"))]
    assert sorted(ours) == ["GetVendorFactory", "_Z13ReleaseVendorPv"]
    dynamic = lines_of(lab, "readelf", "-d")
    assert not any("RPATH" in line or "RUNPATH" in line for line in dynamic)
    needed = [line.split("[")[1] for line in dynamic if "(NEEDED)" in line]
    assert all(name.startswith(OURS) for name in needed)
