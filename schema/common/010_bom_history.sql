-- The change history of BOMs: one row per new or deleted BOM, per header field changed and per
-- line added, removed or changed. Rows of a multi-BOM run carry its run id (0: a single save).
-- Rows outlive their BOM, so a deleted BOM's history can still be read.
CREATE TABLE sys_bom_history (
    id @SERIAL@,
    dtime @DATETIME@ NOT NULL,
    cuserid VARCHAR(20) NOT NULL,
    iautoid VARCHAR(38) NOT NULL,
    cline @TEXT@,
    ckind VARCHAR(20) NOT NULL,
    cfield VARCHAR(60),
    cold @TEXT@,
    cnew @TEXT@,
    irunid @BIGINT@ NOT NULL DEFAULT 0
);
CREATE INDEX ix_sys_bom_history_bom ON sys_bom_history(iautoid, id);
