using System;
using System.Text;
using static System.Math;
using Alias = System.IO;
using Short = Long;
global using System.Linq;
