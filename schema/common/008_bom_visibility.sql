-- The BOMs each restricted operator's rights hide, worked out ahead so that his list's first
-- page costs the same whatever the size of the account. Saves and deletes keep the rows of the
-- BOMs they touch; an operator's whole set is worked out anew when his rights have changed.
CREATE TABLE sys_bom_hidden (
    cuserid VARCHAR(20) NOT NULL REFERENCES sys_operator(cuserid) ON DELETE CASCADE,
    iautoid VARCHAR(38) NOT NULL,
    PRIMARY KEY (cuserid, iautoid)
);
CREATE INDEX ix_sys_bom_hidden_bom ON sys_bom_hidden(iautoid);

-- Operators whose hidden BOMs are kept, and the version of their rights the set follows.
CREATE TABLE sys_bom_hidden_state (
    cuserid VARCHAR(20) PRIMARY KEY REFERENCES sys_operator(cuserid) ON DELETE CASCADE,
    irightsversion @BIGINT@ NOT NULL
);

-- Every change of an operator's rights counts his version up.
CREATE TABLE sys_right_version (
    cuserid VARCHAR(20) PRIMARY KEY REFERENCES sys_operator(cuserid) ON DELETE CASCADE,
    iversion @BIGINT@ NOT NULL
);
