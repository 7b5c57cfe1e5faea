-- A restricted operator's BOMs are kept as the set he may see rather than the set he may not:
-- a list that hides most BOMs then asks a small index, and his count is a count of it. Every
-- kept set is worked out anew at its operator's next sign-in.
DROP TABLE sys_bom_hidden;
CREATE TABLE sys_bom_visible (
    cuserid VARCHAR(20) NOT NULL REFERENCES sys_operator(cuserid) ON DELETE CASCADE,
    iautoid VARCHAR(38) NOT NULL,
    PRIMARY KEY (cuserid, iautoid)
);
CREATE INDEX ix_sys_bom_visible_bom ON sys_bom_visible(iautoid);
ALTER TABLE sys_bom_hidden_state RENAME TO sys_bom_visible_state;
DELETE FROM sys_bom_visible_state;
