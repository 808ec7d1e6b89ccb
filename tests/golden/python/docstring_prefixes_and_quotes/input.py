def a(): "double"
def b(): 'single'
def c(): """triple double"""
def d(): '''triple single'''
def e(): r"raw \d"
def f(): Rb"raw bytes"
def g(): BR'''bytes raw'''
def h(): u"unicode"
def i(): F"format {x}"
def j(): fR"""format raw"""
def k(): ""
def l(): """   """
def m(): """ "quoted" """
def n(): "not " "one"
def o(): ("parenthesised")
def p(): b"bytes"; "second"
