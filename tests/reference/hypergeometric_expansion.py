"""Derives the coefficients of the normal form of the hypergeometric tail ratios.

With a = K/N, b = n/N, c = 1 - 2a, g = 1 - 2b, s^2 = N a (1-a) b (1-b), h = 1/(2s) and x = N a b + s z, the four
cells of the 2 x 2 table are E (1 + u) with 1/E = h^2 (1 +- c)(1 +- g) and u = d/E, d = z/(2h). Stirling's series
gives s P(X = x)/phi(z) = D(z, h); the sum over the lattice is Euler and Maclaurin's; both to h^3. Polynomials in
(z, h, c, g) with rational coefficients are dictionaries from exponents to fractions.
"""
from fractions import Fraction as F
from collections import defaultdict

ORDER = 3

def const(v): return {(0,0,0,0): F(v)}
def var(i, e=1):
    k=[0,0,0,0]; k[i]=e; return {tuple(k): F(1)}
z,h,c,g = (var(i) for i in range(4))
def add(*ps):
    r=defaultdict(F)
    for p in ps:
        for k,v in p.items(): r[k]+=v
    return {k:v for k,v in r.items() if v}
def scale(p,s): return {k:v*F(s) for k,v in p.items()}
def mul(p,q,cut=ORDER):
    r=defaultdict(F)
    for k,v in p.items():
        for l,w in q.items():
            if k[1]+l[1]<=cut: r[tuple(i+j for i,j in zip(k,l))]+=v*w
    return {k:v for k,v in r.items() if v}
def prod(*ps,cut=ORDER):
    r=const(1)
    for p in ps: r=mul(r,p,cut)
    return r
def power(p,n,cut=ORDER):
    r=const(1)
    for _ in range(n): r=mul(r,p,cut)
    return r
def dz(p): return {(k[0]-1,)+k[1:]:v*k[0] for k,v in p.items() if k[0]}

one=const(1)
cells=[(1,1,1),(1,-1,-1),(-1,1,-1),(-1,-1,1)]   # signs of c, of g, and of the deviation d
L={}
for sc,sg,sd in cells:
    f=mul(add(one,scale(c,sc)),add(one,scale(g,sg)))        # 1/(E h^2)
    u=prod(const(F(sd,2)),z,h,f)                            # d/E
    # -E ((1+u) ln(1+u) - u): E u^k = (d/E)^(k-2) d^2/E, d^2/E = z^2 f/4
    for k in range(2,6):
        co=F((-1)**k,k*(k-1))
        L=add(L,scale(prod(power(u,k-2),z,z,f),-co/4))
    # -ln(1+u)/2
    for k in range(1,4): L=add(L,scale(power(u,k),-F((-1)**(k+1),k)/2))
    # -1/(12 E (1+u))
    inv=add(one,scale(u,-1))
    L=add(L,scale(prod(h,h,f,inv),-F(1,12)))
cc=add(one,scale(mul(c,c),-1)); gg=add(one,scale(mul(g,g),-1))
for m in (mul(add(one,c),gg),mul(add(one,scale(c,-1)),gg),mul(cc,add(one,g)),mul(cc,add(one,scale(g,-1)))):
    L=add(L,scale(prod(h,h,m),F(1,24)))
L=add(L,scale(prod(h,h,cc,gg),-F(1,48)))
L=add(L,scale(mul(z,z),F(1,2)))     # take phi(z) out
assert all(k[1]>=1 for k in L), L
def exp_(p):
    r=const(1); t=const(1)
    for n in range(1,ORDER+1):
        t=scale(mul(t,p),F(1,n)); r=add(r,t)
    return r
D=exp_(L); A=exp_(scale(L,-1))
# int_z^inf z^k phi = z^(k-1) phi + (k-1) int z^(k-2) phi
M={};Q={}
def tail(k):
    if k==0: return F(1),{}
    if k==1: return F(0),{0:F(1)}
    m,q=tail(k-2); q={e:v*(k-1) for e,v in q.items()}; q[k-1]=q.get(k-1,F(0))+1
    return m*(k-1),q
for k,v in D.items():
    m,q=tail(k[0])
    M=add(M,{(0,)+k[1:]:v*m} if m else {})
    for e,w in q.items(): Q=add(Q,{(e,)+k[1:]:v*w})
assert M=={(0,0,0,0):1}, M
slope=add(scale(z,-1),dz(L))
B=add(mul(Q,A),scale(h,-1),scale(prod(h,h,slope),-F(1,3)))
def show(name,p,order,den):
    by=defaultdict(dict)
    for k,v in p.items():
        if k[1]==order: by[k[0]][(k[2],k[3])]=v*den
    print(name,'* %d:'%den)
    for e in sorted(by,reverse=True):
        print('   z^%d: '%e,' + '.join('%s c^%d g^%d'%(v,i,j) for (i,j),v in sorted(by[e].items(),reverse=True)))
for o,d in ((1,3),(2,36),(3,1620)): show('a%d'%o,A,o,d)
for o,d in ((1,3),(2,36),(3,1620)): show('b%d'%o,B,o,d)
# binomial check at g = 1
def at_g1(p):
    r=defaultdict(F)
    for k,v in p.items(): r[k[:3]]+=v
    return {k:v for k,v in r.items() if v}
import random
def evalp(p,order,zv,cv):
    return sum(v*zv**k[0]*cv**k[2] for k,v in at_g1(p).items() if k[1]==order)
for _ in range(20):
    zz=F(random.randint(-9,9),7); cv=F(random.randint(0,9),10); Z=zz*zz; C=cv*cv; A_=2*C*Z; B_=10*C*Z
    assert evalp(A,1,zz,cv)==-(Z-3)*cv*zz/3
    assert evalp(A,2,zz,cv)==(((3*(1-C)+A_)*Z-18)*Z+3*(3+C))/36
    assert evalp(A,3,zz,cv)==-cv*((((45*(1+C)+B_)*Z-81*(1+C))*Z-45*(15-C))*Z+135*(5-C))*zz/1620
    assert evalp(B,1,zz,cv)==(Z-1)*cv/3-1
    assert evalp(B,2,zz,cv)==-((A_+(3-5*C))*Z-3*(7-3*C))*zz/36
    assert evalp(B,3,zz,cv)==cv*((((B_+5*(7*C+9))*Z-6*(16*C+21))*Z-3*(153-37*C))*Z+48*(9-C))/1620
print('binomial limit ok')
