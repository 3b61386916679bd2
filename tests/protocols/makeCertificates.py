"""Makes the certificates, sound and faulty, that the tests of TLS show: makeCertificates.py DEMO FOLDER"""

import os
import sys

sys.path.insert(0, sys.argv[1])

from server.authority import KINDS, Authority  # noqa: E402
from server.statefolder import StateFolder  # noqa: E402

os.makedirs(sys.argv[2], exist_ok=True)
authority = Authority(StateFolder(sys.argv[2]))
authority.prepare()
for kind in KINDS:
    authority.certificate(kind)
