from pkg.mod import *
from pkg import *
from . import *
from .mod import *
