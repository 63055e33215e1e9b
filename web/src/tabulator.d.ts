// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// What the page uses of Tabulator, which comes without types.
declare module 'tabulator-tables' {
  export interface Row {
    getData(): Record<string, unknown>;
    getElement(): HTMLElement;
    update(data: Record<string, unknown>): Promise<void>;
    delete(): Promise<void>;
    reformat(): void;
  }
  export interface Column {
    getField(): string;
  }
  export type ColumnDefinition = Record<string, unknown>;
  type Module = unknown;
  export const FilterModule: Module;
  export const FormatModule: Module;
  export const FrozenColumnsModule: Module;
  export const GroupRowsModule: Module;
  export const InteractionModule: Module;
  export const ResizeColumnsModule: Module;
  export const ResizeTableModule: Module;
  export const SortModule: Module;
  export class Tabulator {
    static registerModule(modules: Module[]): void;
    constructor(element: HTMLElement, options: Record<string, unknown>);
    // eslint-disable-next-line @typescript-eslint/no-explicit-any
    on(event: string, listener: (...args: any[]) => void): void;
    destroy(): void;
    redraw(isForced?: boolean): void;
    blockRedraw(): void;
    restoreRedraw(): void;
    getRow(index: string): Row | false;
    getRows(which?: 'active' | 'visible' | 'display'): Row[];
    getSorters(): { field: string; dir: string }[];
    setSort(sorters: { column: string; dir: string }[]): void;
    setFilter(wanted: (data: Record<string, unknown>) => boolean): void;
    setHeaderFilterValue(field: string, value: string): void;
    setGroupBy(field: string | false): void;
    showColumn(field: string): void;
    hideColumn(field: string): void;
    addData(data: Record<string, unknown>[]): Promise<Row[]>;
    scrollToRow(row: Row, position: string, ifVisible: boolean): Promise<void>;
  }
}
