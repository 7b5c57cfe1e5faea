-- Item classes (the item reference's class tree).
CREATE TABLE InventoryClass (
    cInvCCode VARCHAR(20) PRIMARY KEY,
    cInvCName VARCHAR(60) NOT NULL,
    cEcoCode VARCHAR(20)
);

-- Unit groups: iGroupType 0 single unit, 1 fixed rate, 2 floating rate.
CREATE TABLE ComputationGroup (
    cGroupCode VARCHAR(20) PRIMARY KEY,
    cGroupName VARCHAR(60) NOT NULL,
    iGroupType @INT@ NOT NULL DEFAULT 0
);

-- Units of measure with their rate to the group's main unit.
CREATE TABLE ComputationUnit (
    cComUnitCode VARCHAR(20) PRIMARY KEY,
    cComUnitName VARCHAR(60) NOT NULL,
    cGroupCode VARCHAR(20) REFERENCES ComputationGroup(cGroupCode),
    bMainUnit @INT@ NOT NULL DEFAULT 0,
    iChangRate @NUM@
);

-- Warehouses: iWhProperty 0 ordinary, 1 site, 2 outsourcing.
CREATE TABLE Warehouse (
    cWhCode VARCHAR(20) PRIMARY KEY,
    cWhName VARCHAR(60) NOT NULL,
    iWhProperty @INT@ DEFAULT 0,
    cWhPerson VARCHAR(20)
);

-- Departments; only end-level ones (bDepEnd=1) are chosen on a card.
CREATE TABLE Department (
    cDepCode VARCHAR(20) PRIMARY KEY,
    cDepName VARCHAR(60) NOT NULL,
    bDepEnd @INT@ NOT NULL DEFAULT 1
);

-- Persons (storekeepers).
CREATE TABLE Person (
    cPersonCode VARCHAR(20) PRIMARY KEY,
    cPersonName VARCHAR(60) NOT NULL,
    cDepCode VARCHAR(20) REFERENCES Department(cDepCode)
);

-- Items. iPlanPolicy 2 = re-order point; btrack = tracked from issue to receipt; bFreeN = uses free item N.
CREATE TABLE Inventory (
    iId @INT@ NOT NULL UNIQUE,
    cInvCode VARCHAR(60) PRIMARY KEY,
    cInvName VARCHAR(120) NOT NULL,
    cInvAddCode VARCHAR(60),
    cInvStd VARCHAR(120),
    cInvCCode VARCHAR(20) REFERENCES InventoryClass(cInvCCode),
    cComunitCode VARCHAR(20) REFERENCES ComputationUnit(cComUnitCode),
    cGroupCode VARCHAR(20) REFERENCES ComputationGroup(cGroupCode),
    iGroupType @INT@ DEFAULT 0,
    bService @INT@ NOT NULL DEFAULT 0,
    iPlanPolicy @INT@,
    bself @INT@ NOT NULL DEFAULT 0,
    bproxyforeign @INT@ NOT NULL DEFAULT 0,
    bPurchase @INT@ DEFAULT 0,
    bInvType @INT@ NOT NULL DEFAULT 0,
    dEDate @DATETIME@,
    btrack @INT@ DEFAULT 0,
    cDefWareHouse VARCHAR(20) REFERENCES Warehouse(cWhCode),
    bFree1 @INT@ NOT NULL DEFAULT 0,
    bFree2 @INT@ NOT NULL DEFAULT 0,
    bFree3 @INT@ NOT NULL DEFAULT 0,
    bFree4 @INT@ NOT NULL DEFAULT 0,
    bFree5 @INT@ NOT NULL DEFAULT 0,
    bFree6 @INT@ NOT NULL DEFAULT 0,
    bFree7 @INT@ NOT NULL DEFAULT 0,
    bFree8 @INT@ NOT NULL DEFAULT 0,
    bFree9 @INT@ NOT NULL DEFAULT 0,
    bFree10 @INT@ NOT NULL DEFAULT 0,
    cInvDefine1 VARCHAR(120),
    cInvDefine2 VARCHAR(120),
    cInvDefine3 VARCHAR(120),
    cInvDefine4 VARCHAR(120),
    cInvDefine5 VARCHAR(120),
    cInvDefine6 VARCHAR(120),
    cInvDefine7 VARCHAR(120),
    cInvDefine8 VARCHAR(120),
    cInvDefine9 VARCHAR(120),
    cInvDefine10 VARCHAR(120),
    cInvDefine11 VARCHAR(120),
    cInvDefine12 VARCHAR(120),
    cInvDefine13 @NUM@,
    cInvDefine14 @NUM@,
    cInvDefine15 VARCHAR(120),
    cInvDefine16 VARCHAR(120)
);

-- Operations.
CREATE TABLE CA_Predf (
    cProcedureId VARCHAR(20) PRIMARY KEY,
    cProcedureName VARCHAR(60) NOT NULL
);

-- Routings of parent items.
CREATE TABLE PP_RoutMain (
    routid @INT@ PRIMARY KEY,
    routcode VARCHAR(60) NOT NULL,
    routname VARCHAR(120) NOT NULL,
    cRoutSoCode VARCHAR(60),
    cInvCode VARCHAR(60) REFERENCES Inventory(cInvCode),
    cFree1 VARCHAR(60),
    cFree2 VARCHAR(60),
    cFree3 VARCHAR(60),
    cFree4 VARCHAR(60),
    cFree5 VARCHAR(60),
    cFree6 VARCHAR(60),
    cFree7 VARCHAR(60),
    cFree8 VARCHAR(60),
    cFree9 VARCHAR(60),
    cFree10 VARCHAR(60)
);

CREATE VIEW PP_RoutMainRef_V AS SELECT routid, routcode, routname, cRoutSoCode, cInvCode, cFree1, cFree2, cFree3, cFree4, cFree5, cFree6, cFree7, cFree8, cFree9, cFree10 FROM PP_RoutMain;

-- Summary texts.
CREATE TABLE GL_bdigest (
    cId VARCHAR(20) PRIMARY KEY,
    cText VARCHAR(120) NOT NULL
);

-- Sales orders.
CREATE TABLE so_somain (
    id @INT@ PRIMARY KEY,
    csocode VARCHAR(60) NOT NULL UNIQUE,
    ddate @DATETIME@,
    ccusname VARCHAR(120)
);

-- Sales order lines; cbomsocode and bomid link a line to its order BOM.
CREATE TABLE so_sodetails (
    autoid @INT@ PRIMARY KEY,
    id @INT@ NOT NULL REFERENCES so_somain(id),
    cinvcode VARCHAR(60) NOT NULL,
    iquantity @NUM@,
    cbomsocode VARCHAR(120),
    bomid VARCHAR(38)
);

-- Free items and user-defined items with their captions.
CREATE TABLE userdef (
    cID @INT@ PRIMARY KEY,
    cClass VARCHAR(20) NOT NULL,
    cItem VARCHAR(20) NOT NULL,
    cItemName VARCHAR(60),
    cType VARCHAR(20),
    iLength @INT@,
    bArchive @INT@ DEFAULT 0,
    bcheckval @INT@ DEFAULT 0,
    bInput @INT@ DEFAULT 1,
    bFixLength @INT@ DEFAULT 0
);

-- Values of free items and user-defined items.
CREATE TABLE userdefine (
    cID @INT@ NOT NULL REFERENCES userdef(cID),
    cValue VARCHAR(60) NOT NULL,
    cAlias VARCHAR(60),
    PRIMARY KEY (cID, cValue)
);

-- Colours and sizes an item comes in.
CREATE TABLE InventoryColorFree (
    cID @INT@ NOT NULL,
    cInvCode VARCHAR(60) NOT NULL REFERENCES Inventory(cInvCode),
    cValue VARCHAR(60) NOT NULL,
    PRIMARY KEY (cID, cInvCode, cValue)
);
