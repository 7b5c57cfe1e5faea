-- Runs over many BOMs (batch component runs, colour/size runs): who ran what and when, and
-- whether it was undone since. Their history rows carry the run id (sys_bom_history.irunid).
CREATE TABLE sys_bom_run (
    id @SERIAL@,
    cuserid VARCHAR(20) NOT NULL,
    dtime @DATETIME@ NOT NULL,
    coperation VARCHAR(30) NOT NULL,
    cstate VARCHAR(10) NOT NULL DEFAULT 'done',
    cdescription @TEXT@
);

-- Every BOM a run touched: what it did to it (A line added, D line deleted, M line changed,
-- C BOM created, X BOM removed) and the BOM's row version before the run and the one it left
-- (null when there was or is no BOM). Undo refuses while any of them has moved on from iqzts.
CREATE TABLE sys_bom_run_bom (
    irunid @BIGINT@ NOT NULL REFERENCES sys_bom_run(id) ON DELETE CASCADE,
    iautoid VARCHAR(38) NOT NULL,
    ckind VARCHAR(2) NOT NULL,
    iqztsbefore @BIGINT@,
    iqzts @BIGINT@,
    PRIMARY KEY (irunid, iautoid)
);
CREATE INDEX ix_sys_bom_run_bom_bom ON sys_bom_run_bom(iautoid);

-- Rows a run made: a whole BOM (autoid null) or a line of one.
CREATE TABLE sys_bom_run_created (
    irunid @BIGINT@ NOT NULL REFERENCES sys_bom_run(id) ON DELETE CASCADE,
    iautoid VARCHAR(38) NOT NULL,
    autoid @BIGINT@
);
CREATE INDEX ix_sys_bom_run_created ON sys_bom_run_created(irunid);

-- Rows as they were before a run changed or removed them, column for column, so undo puts
-- them back as they were. A migration that adds a column to ProductStructure,
-- ProductStructures or ProstruOpt adds it to its copy here as well.
CREATE TABLE sys_bom_run_header AS SELECT * FROM ProductStructure WHERE 1=0;
ALTER TABLE sys_bom_run_header ADD COLUMN irunid @BIGINT@ NOT NULL DEFAULT 0;
CREATE INDEX ix_sys_bom_run_header ON sys_bom_run_header(irunid);

CREATE TABLE sys_bom_run_line AS SELECT * FROM ProductStructures WHERE 1=0;
ALTER TABLE sys_bom_run_line ADD COLUMN irunid @BIGINT@ NOT NULL DEFAULT 0;
CREATE INDEX ix_sys_bom_run_line ON sys_bom_run_line(irunid);

CREATE TABLE sys_bom_run_option AS SELECT * FROM ProstruOpt WHERE 1=0;
ALTER TABLE sys_bom_run_option ADD COLUMN irunid @BIGINT@ NOT NULL DEFAULT 0;
CREATE INDEX ix_sys_bom_run_option ON sys_bom_run_option(irunid);

-- The quantity totals of the (parent, component) pairs a run changed: before (bbefore 0: no
-- row) and after it. Undo puts a total back only where it is still what the run left (bsame),
-- and works out the others from the lines.
CREATE TABLE sys_bom_run_total (
    irunid @BIGINT@ NOT NULL REFERENCES sys_bom_run(id) ON DELETE CASCADE,
    cpspcode VARCHAR(60) NOT NULL,
    cpscode VARCHAR(60) NOT NULL,
    bbefore @INT@ NOT NULL,
    ibefore @NUM@,
    bafter @INT@,
    iafter @NUM@,
    bsame @INT@,
    PRIMARY KEY (irunid, cpspcode, cpscode)
);
