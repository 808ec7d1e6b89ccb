import os
import os.path
import os, pkg.sub.mod
import numpy as np
import a.b as c, d
from pkg.sub.mod import Handler
from pkg import a as b, c
from pkg import (x,
                 y)
from . import x
from .mod import y
from ..pkg import z as w
from __future__ import annotations
