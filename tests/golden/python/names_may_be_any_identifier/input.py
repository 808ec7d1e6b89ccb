def naïve(): pass
class Größe: pass
def 名前(): pass
