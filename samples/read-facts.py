import sys

import larder

try:
    with larder.Session() as session:
        record = session.query_file(sys.argv[1] if len(sys.argv) == 2 else "")
    if record is None:
        raise FileNotFoundError("there is no such file")
    print(record.sha256.hex())
except (larder.Error, OSError, ValueError) as error:
    sys.exit(f"read-facts: {error}")
