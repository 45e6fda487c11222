import * as zelectronframework from './index.cjs';

export * from './index.cjs';
export default zelectronframework;
