package shop;

import java.util.List;
import java.util.*;
import static java.lang.Math.max;
import Single;
