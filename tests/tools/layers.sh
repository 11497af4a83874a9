#!/bin/bash
# The folders of src/ form layers: no include points up, and the README's
# Layout table names exactly the folders that exist.
# Usage: layers.sh BUILD_DIR SOURCE_DIR
exec python3 "$2/tools/layers/layers.py" "$2"
