"""Writes a ZIP file anew so that its bytes depend on its content alone: sorted, with one date. usage: sorted_zip.py FILE"""
import os
import sys
import time
import zipfile

earliest = 315532800  # ZIP knows no year before 1980
date = time.gmtime(max(int(os.environ.get("SOURCE_DATE_EPOCH", earliest)), earliest))[:6]
with zipfile.ZipFile(sys.argv[1]) as old:
    files = sorted((one.filename, old.read(one)) for one in old.infolist() if not one.is_dir())
with zipfile.ZipFile(sys.argv[1] + ".new", "w", zipfile.ZIP_DEFLATED, compresslevel=9) as new:
    for name, data in files:
        info = zipfile.ZipInfo(name, date)
        info.create_system = 3
        info.external_attr = (0o755 if name.endswith((".exe", ".dll")) else 0o644) << 16
        info.compress_type = zipfile.ZIP_DEFLATED
        new.writestr(info, data)
os.replace(sys.argv[1] + ".new", sys.argv[1])
