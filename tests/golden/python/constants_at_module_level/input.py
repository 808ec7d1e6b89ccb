MAX_SIZE = 10
MAXSIZE = 10
T = 1
max_size = 10
Max_Size = 1
__ALL__ = []
_ = 1
_A1 = 1
A, B_C = 1, 2
A_B = C_D = 1
OBJ.MAX_SIZE = 1
OBJ[MAX_SIZE] = 1
A_Ⅷ = 8
É_Ä = 0
X_ß = 0
TOTAL_SUM += 1
if __name__ == "__main__":
    IN_IF = 1
for i in []:
    IN_FOR = 1
def function():
    IN_FUNCTION = 1
class Class:
    IN_CLASS = 1
    if True:
        DEEP_IN_CLASS = 1
