"""What is installed, as a loader sees it."""

import subprocess


def symbols(lab):
    library = lab.inside("/opt/velmora/qdm/provider/libqdmp_EMULEX_FC.so")
    text = subprocess.run(["nm", "-D", "--defined-only", library], text=True, check=True,
                          capture_output=True).stdout
    return [line.split()[-1] for line in text.splitlines()]


def test_provider_exports_its_two_symbols_alone(lab):
    ours = [name for name in symbols(lab) if not name.startswith(("__asan", "__odr", "__ubsan"))]
    assert sorted(ours) == ["GetVendorFactory", "_Z13ReleaseVendorPv"]


def test_provider_brings_no_path_to_its_libraries(lab):
    library = lab.inside("/opt/velmora/qdm/provider/libqdmp_EMULEX_FC.so")
    text = subprocess.run(["readelf", "-d", library], text=True, check=True,
                          capture_output=True).stdout
    assert "RPATH" not in text and "RUNPATH" not in text
    needed = [line.split("[")[1].rstrip("]") for line in text.splitlines() if "(NEEDED)" in line]
    assert all(name.startswith(("libqdm_", "libstdc++", "libgcc", "libc.", "libm.", "libasan",
                                "libubsan")) for name in needed)
