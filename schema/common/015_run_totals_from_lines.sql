-- Undo works the quantity totals out again from the lines it puts back, so runs no longer keep
-- them.
DROP TABLE sys_bom_run_total;
