"""The README names every package that its two commands install.

    check_packages.py SOURCE_DIR
"""

import re
import sys
from pathlib import Path

source_dir = Path(sys.argv[1])
lines = (source_dir / ".ci/packages").read_text(encoding="utf-8").split("\n")
installed = {line.split()[1] for line in lines if re.match(r"(build|test)\s", line)}
readme = (source_dir / "README.md").read_text(encoding="utf-8")
named = set(re.findall(r"`([^`\s]+)`", readme[readme.index("## Two commands"):].split("\n## ")[0]))
missing = sorted(installed - named)
print(f"{len(installed)} packages are installed; not named: {', '.join(missing) or 'none'}")
sys.exit(1 if missing or not installed else 0)
