"""Lets `import musedata` work from the top of a checkout after `make`.

The package proper, with its compiled extension, is built into
build/python/musedata (or $MUSEDATA_BUILD/python/musedata when the build
folder has another name). This stand-in makes that folder the package's own,
so `python3 -c "import musedata"` run here gets the built package, its
submodules (musedata.music21) included. Installed copies never see this file.
"""

import os

_checkout = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
_build = os.environ.get("MUSEDATA_BUILD", "build")
_package = os.path.join(_checkout, _build, "python", "musedata")
_entry = os.path.join(_package, "__init__.py")
if not os.path.isfile(_entry):
    raise ImportError(
        "musedata is not built in this checkout (no %s): run `make` first, or use an "
        "installed musedata" % os.path.relpath(_package, _checkout)
    )

# Submodules and the compiled _musedata are found in the built folder.
__path__ = [_package]
__file__ = _entry
with open(_entry, encoding="utf-8") as _source:
    exec(compile(_source.read(), _entry, "exec"))
del _source
