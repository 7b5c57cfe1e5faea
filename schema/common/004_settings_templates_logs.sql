-- Account settings: decimal digits (system 'AA') and the structure-changed flag (system 'pp').
CREATE TABLE AccInformation (
    cSysID VARCHAR(10) NOT NULL,
    cID VARCHAR(10) NOT NULL,
    cName VARCHAR(60) NOT NULL,
    cValue VARCHAR(200),
    cDefault VARCHAR(200),
    PRIMARY KEY (cSysID, cName)
);

-- The account's own words for menu terms ("物料清单", "母件", "子件").
CREATE TABLE ca_MenuDef (
    AutoId @INT@ PRIMARY KEY,
    cDefault VARCHAR(60) NOT NULL,
    cNewMenu VARCHAR(60)
);

-- Cards: header and body tables, the views that load them, and the default templates.
CREATE TABLE vouchers (
    cardnumber VARCHAR(10) PRIMARY KEY,
    csub_id VARCHAR(10) NOT NULL,
    BTTblName VARCHAR(60) NOT NULL,
    BWTblName VARCHAR(60),
    BTQName VARCHAR(60) NOT NULL,
    BWQName VARCHAR(60),
    HaveBodyGrid @INT@ NOT NULL DEFAULT 1,
    cCardName VARCHAR(60) NOT NULL,
    DEF_ID @INT@,
    def_id_prn @INT@
);

-- Templates of a card; VT_TemplateMode 0 display, 1 print.
CREATE TABLE VoucherTemplates (
    VT_id @INT@ PRIMARY KEY,
    VT_CardNumber VARCHAR(10) NOT NULL,
    VT_name VARCHAR(60) NOT NULL,
    VT_TemplateMode @INT@ NOT NULL DEFAULT 0
);

-- Fields of a template. "isnull" = 1 marks a required field; refertable 'system' takes its
-- value from the session.
CREATE TABLE voucheritems (
    autoid @SERIAL@,
    vt_id @INT@ REFERENCES VoucherTemplates(VT_id),
    cardnum VARCHAR(10) NOT NULL,
    cardsection VARCHAR(1) NOT NULL,
    fieldname VARCHAR(60) NOT NULL,
    carditemname VARCHAR(60),
    cardformula1 VARCHAR(120),
    "isnull" @INT@ NOT NULL DEFAULT 0,
    refertable VARCHAR(60),
    isselfdef @INT@ DEFAULT 0,
    NumPoint @INT@,
    iorder @INT@ NOT NULL DEFAULT 0,
    bshow @INT@ NOT NULL DEFAULT 1
);
CREATE INDEX ix_voucheritems_template ON voucheritems(vt_id, cardsection);

-- Field settings of the print templates.
CREATE TABLE voucheritems_prn (
    autoid @SERIAL@,
    vt_id @INT@,
    cardnum VARCHAR(10) NOT NULL,
    cardsection VARCHAR(1) NOT NULL,
    fieldname VARCHAR(60) NOT NULL,
    carditemname VARCHAR(60),
    NumPoint @INT@
);

-- Deletion log of component lines: one vouchlog row per deleted line, its data in pieces.
CREATE TABLE vouchlog (
    autoid @SERIAL@,
    cCardNum VARCHAR(10) NOT NULL,
    cVouchCode VARCHAR(40) NOT NULL,
    cUserId VARCHAR(20) NOT NULL,
    iRow @INT@,
    cOperation VARCHAR(2) NOT NULL,
    dTime @DATETIME@ NOT NULL
);

CREATE TABLE vouchlogs (
    autoid @BIGINT@ NOT NULL REFERENCES vouchlog(autoid) ON DELETE CASCADE,
    iNo @INT@ NOT NULL,
    cData VARCHAR(4000),
    PRIMARY KEY (autoid, iNo)
);
