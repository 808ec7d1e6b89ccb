import type { Shape } from "./shape";
import { type Size, Color as C } from "./size";
import fs = require("fs");
import A = B.C;
import def from "m";
