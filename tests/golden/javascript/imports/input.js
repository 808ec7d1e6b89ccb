import fs from "fs";
import { readFile, join as j } from "fs";
import * as path from "path";
import "side-effect";
import def, { named } from "m";
export { x } from "y";
const m = require("m");
