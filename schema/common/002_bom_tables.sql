-- BOM header: one row per parent item variant (parent + sales order + free items).
CREATE TABLE ProductStructure (
    iautoid VARCHAR(38) NOT NULL UNIQUE,
    ID @SERIAL@,
    cpspcode VARCHAR(60) NOT NULL,
    csocode VARCHAR(120),
    cfree1 VARCHAR(60),
    cfree2 VARCHAR(60),
    cfree3 VARCHAR(60),
    cfree4 VARCHAR(60),
    cfree5 VARCHAR(60),
    cfree6 VARCHAR(60),
    cfree7 VARCHAR(60),
    cfree8 VARCHAR(60),
    cfree9 VARCHAR(60),
    cfree10 VARCHAR(60),
    cdepcode VARCHAR(20),
    bexpand @INT@ DEFAULT 1,
    ifinishexch @NUM@,
    ccheck VARCHAR(60),
    bStopFlag @INT@ DEFAULT 0,
    bmrcbbom @INT@ DEFAULT 0,
    cmemo VARCHAR(255),
    cdefine1 VARCHAR(120),
    cdefine2 VARCHAR(120),
    cdefine3 VARCHAR(120),
    cdefine4 VARCHAR(120),
    cdefine5 VARCHAR(120),
    cdefine6 VARCHAR(120),
    cdefine7 @NUM@,
    cdefine8 VARCHAR(120),
    cdefine9 VARCHAR(120),
    cdefine10 VARCHAR(120),
    cdefine11 VARCHAR(120),
    cdefine12 VARCHAR(120),
    cdefine13 VARCHAR(120),
    cdefine14 VARCHAR(120),
    cdefine15 VARCHAR(120),
    cdefine16 @NUM@,
    fbzgs @NUM@,
    fbzgzl @NUM@,
    fbzrgcb @NUM@,
    fbzfyl @NUM@,
    fbzzfy @NUM@,
    fbzwlcb @NUM@,
    fbzcb @NUM@,
    fqmzcpwlcb @NUM@,
    fqmzcprgcb @NUM@,
    fqmzcpzzfy @NUM@,
    routid @INT@,
    routcode VARCHAR(60),
    croutsocode VARCHAR(60),
    ivtid @INT@,
    qzts @BIGINT@ NOT NULL DEFAULT 0
);

CREATE INDEX ix_productstructure_parent ON ProductStructure(cpspcode);

-- BOM component lines; ipid is the header's iautoid, psid its ID (kept by trigger).
CREATE TABLE ProductStructures (
    autoid @SERIAL@,
    ipid VARCHAR(38) NOT NULL,
    psid @BIGINT@,
    cpspcode VARCHAR(60),
    cpscode VARCHAR(60) NOT NULL,
    csocode VARCHAR(120),
    cfree1 VARCHAR(60),
    cfree2 VARCHAR(60),
    cfree3 VARCHAR(60),
    cfree4 VARCHAR(60),
    cfree5 VARCHAR(60),
    cfree6 VARCHAR(60),
    cfree7 VARCHAR(60),
    cfree8 VARCHAR(60),
    cfree9 VARCHAR(60),
    cfree10 VARCHAR(60),
    ipsquantity @NUM@,
    tdqtyd @NUM@ DEFAULT 1,
    unitqty @NUM@,
    iprodchangrate @NUM@,
    ccaacomunitcode VARCHAR(20),
    iwasterate @NUM@ DEFAULT 0,
    cpstype VARCHAR(20),
    cwhcode VARCHAR(20),
    cprocedurename VARCHAR(60),
    cdepcode VARCHAR(20),
    cpersonname VARCHAR(60),
    WIPType @INT@ DEFAULT 3,
    ReplaceFlag @INT@ DEFAULT 0,
    childguid VARCHAR(38),
    cinsertfirst VARCHAR(60),
    cinsertsecond VARCHAR(60),
    cinsertthird VARCHAR(60),
    cdefine22 VARCHAR(120),
    cdefine23 VARCHAR(120),
    cdefine24 VARCHAR(120),
    cdefine25 VARCHAR(120),
    cdefine26 @NUM@,
    cdefine27 @NUM@,
    cdefine28 VARCHAR(120),
    cdefine29 VARCHAR(120),
    cdefine30 VARCHAR(120),
    cdefine31 VARCHAR(120),
    cdefine32 VARCHAR(120),
    cdefine33 VARCHAR(120),
    cdefine34 @NUM@,
    cdefine35 @NUM@,
    cdefine36 VARCHAR(120),
    cdefine37 VARCHAR(120),
    fbzdj @NUM@,
    fbzwlcb @NUM@,
    FVFlag @INT@
);

CREATE INDEX ix_productstructures_ipid ON ProductStructures(ipid);

CREATE INDEX ix_productstructures_psid ON ProductStructures(psid);

CREATE INDEX ix_productstructures_component ON ProductStructures(cpscode);

CREATE INDEX ix_productstructures_child ON ProductStructures(childguid);

-- Substitutes of one component line (AutoID = ProductStructures.autoid).
CREATE TABLE ProstruOpt (
    compsubid @SERIAL@,
    AutoID @BIGINT@ NOT NULL,
    cInvCode VARCHAR(60) NOT NULL,
    cFree1 VARCHAR(60),
    cFree2 VARCHAR(60),
    cFree3 VARCHAR(60),
    cFree4 VARCHAR(60),
    cFree5 VARCHAR(60),
    cFree6 VARCHAR(60),
    cFree7 VARCHAR(60),
    cFree8 VARCHAR(60),
    cFree9 VARCHAR(60),
    cFree10 VARCHAR(60),
    cbatch VARCHAR(60),
    cWhcode VARCHAR(20),
    cPersonName VARCHAR(60),
    Sequence @INT@,
    tdQtyN @NUM@,
    tdQtyD @NUM@,
    ccaacomunitcode VARCHAR(20),
    cdefine22 VARCHAR(120),
    cdefine23 VARCHAR(120),
    cdefine24 VARCHAR(120),
    cdefine25 VARCHAR(120),
    cdefine26 @NUM@,
    cdefine27 @NUM@,
    cdefine28 VARCHAR(120),
    cdefine29 VARCHAR(120),
    cdefine30 VARCHAR(120),
    cdefine31 VARCHAR(120),
    cdefine32 VARCHAR(120),
    cdefine33 VARCHAR(120),
    cdefine34 @NUM@,
    cdefine35 @NUM@,
    cdefine36 VARCHAR(120),
    cdefine37 VARCHAR(120),
    qzts @BIGINT@ NOT NULL DEFAULT 0
);

CREATE INDEX ix_prostruopt_line ON ProstruOpt(AutoID);

-- The department of each parent code.
CREATE TABLE ProductStructureEx (
    cPSPCode VARCHAR(60) PRIMARY KEY,
    cDepCode VARCHAR(20)
);

-- Running total of the base quantity per (parent code, component code) over all BOMs.
CREATE TABLE ProductStructuresEx (
    cPSPCode VARCHAR(60) NOT NULL,
    cPSCode VARCHAR(60) NOT NULL,
    iPSQuantity @NUM@,
    PRIMARY KEY (cPSPCode, cPSCode)
);

-- Files attached to a card: card number and the header ID.
CREATE TABLE sys_attachment (
    iattachid @SERIAL@,
    ccardnum VARCHAR(10) NOT NULL,
    ivoucherid @BIGINT@ NOT NULL,
    cfilename VARCHAR(255) NOT NULL,
    bcontent @BLOB@
);

CREATE INDEX ix_attachment_voucher ON sys_attachment(ccardnum, ivoucherid);
