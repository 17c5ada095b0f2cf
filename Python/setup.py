"""The wheel: the package, its module, and the two libraries inside.

    python3 -m build --wheel --no-isolation Python

CMake builds them from the repository around this folder, so there is no archive of sources
of the package alone. Nothing is downloaded.
"""

import re
import sys
from pathlib import Path

from skbuild import setup

REPOSITORY = Path(__file__).resolve().parent.parent
if not (REPOSITORY / "Client").is_dir():
    sys.exit("the wheel is built inside the repository: python3 -m build --wheel Python")

setup(
    version=re.search(
        r"^project\(descriptor VERSION ([0-9.]+)", (REPOSITORY / "CMakeLists.txt").read_text(),
        re.MULTILINE,
    ).group(1),
    packages=["descriptor"],
    package_dir={"": "src"},
    package_data={"descriptor": ["py.typed", "*.pyi"]},
    cmake_source_dir=str(REPOSITORY),
    cmake_install_dir="src/descriptor",
    cmake_args=[
        "-DDP_PYTHON_WHEEL=ON",
        f"-DDP_PYTHON={sys.executable}",
        "-DDP_INSTALL=OFF",
        "-DDP_BUILD_PYTHON=ON",
        "-DDP_BUILD_TESTS=OFF",
        "-DDP_BUILD_EXAMPLES=OFF",
        "-DDP_BUILD_MLT=OFF",
    ],
)
