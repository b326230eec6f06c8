"""python3 -m kvtm says where the tool is."""
import shutil

print("The package kvtm is a library. The tool of that name shows values, stored bytes and orders:\n"
      f"  {shutil.which('kvtm') or 'kvtm'} help")
